#include "account/AuthStore.h"
#include "base/MainQueue.h"
#include "mock-server/LocalService.h"
#include "services/HttpClient.h"
#include "support/FakeSecureSlot.h"

#include <QJsonDocument>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Ending = mock::ScriptedReply::Ending;

namespace {

constexpr auto callback = "tavrik://auth-callback#access_token=a%20b&refresh_token=r&expires_in=100";
const auto address = u"typed@example.org"_s;

/// As stored by earlier versions.
const QByteArray storedJson =
    R"({"accessToken":"access","email":"ر@example.org","expiresAt":800000000.5,"refreshToken":"r"})";

/// A reply with tokens.
QByteArray tokens(const QByteArray& name, const QByteArray& members = R"("expires_in":3600)") {
    return R"({"access_token":"access )" + name + R"(","refresh_token":"refresh )" + name + R"(",)" +
           members + "}";
}

AuthSession session(double secondsLeft) {
    return {u"access old"_s, u"refresh old"_s,
            std::chrono::system_clock::now() + AuthSession::Seconds(secondsLeft), u"old@example.org"_s};
}

/// A store and what it works with.
struct Fixture {
    explicit Fixture(const std::optional<AuthSession>& stored = {}, bool slotIsRead = true) {
        slot.content = stored.transform(&AuthSession::toJson);
        if (slotIsRead)
            slot.finishReading();
    }

    /// The reply to the next request; a status of 0 resets the connection instead.
    void script(int status, const QByteArray& body) {
        service.script({{.reply = {.status = status, .body = body},
                         .ending = status ? Ending::complete : Ending::reset}});
    }

    /// Runs the jobs in the main queue.
    void settle() {
        bool done = false;
        queue.post([&] { done = true; });
        QVERIFY(QTest::qWaitFor([&] { return done; }));
    }

    /// For outcomes: a result's value, or its error after "! ".
    auto note() {
        return [this](const auto& result) {
            if (!result)
                outcomes << u"! "_s + result.error().description;
            else if constexpr (requires { QVariant(*result); })
                outcomes << QVariant(*result).toString();
            else
                outcomes << u"done"_s;
        };
    }
    /// The outcomes since the last call, once there are any.
    QString outcome() {
        const bool any = QTest::qWaitFor([this] { return !outcomes.isEmpty(); }, 60000);
        return any ? std::exchange(outcomes, {}).join(u'|') : QString();
    }
    auto look() {
        return [this] {
            outcomes << published();
        };
    }
    QString signIn() {
        store.signIn(address, u" horse "_s, note());
        return outcome();
    }
    QString published() const {
        return store.session().value_or(AuthSession{u"nobody"_s, {}, {}, {}}).accessToken;
    }

    QStringList outcomes;
    test::LocalService service;
    MainQueue queue;
    HttpClient http{queue};
    fake::Slot slot;
    AuthStore store{slot, http, queue, {service.url(), "anonymous"}};
};

} // namespace

class AuthStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void storedForm() {
        // The reference date is 2001-01-01.
        QVERIFY(AuthSession::fromJson(storedJson) ==
                AuthSession(u"access"_s, u"r"_s, AuthSession::Time(1778307200.5s), u"ر@example.org"_s));
        const auto object = QJsonDocument::fromJson(storedJson).object();
        for (const auto& member : object.keys()) {
            auto changed = object;
            changed.insert(member, true);
            QVERIFY2(!AuthSession::fromJson(QJsonDocument(changed).toJson()), qPrintable(member));
        }
    }

    void signInsAndSignUps() {
        const std::tuple<bool, int, QByteArray, QString> rows[]{
            {false, 400, R"({"error_description":"1","msg":"2"})", u"! 1"_s},
            {false, 422, R"({"error_description":1,"msg":"2","error":{"message":"3"}})", u"! 2"_s},
            {false, 400, R"({"msg":null,"error":{"message":" <b>ن</b>"},"message":"4"})", u"!  <b>ن</b>"_s},
            {false, 400, R"({"error":{"message":["3"]},"message":""})", u"! "_s},
            {false, 300, tokens("x"), u"! Sign-in failed (HTTP 300)"_s},
            {false, 0, "", u"! The server closed the connection before its reply was complete"_s},
            {false, 200, R"({"access_token":"a"})", u"! Unexpected response from the auth server."_s},
            {true, 200, R"({"id":"1","refresh_token":"r"})", u"true"_s},
            {true, 200, tokens("new"), u"false"_s}};
        for (const auto& [signsUp, status, body, expected] : rows) {
            Fixture fixture(session(3600));
            fixture.script(status, body);
            if (signsUp)
                fixture.store.signUp(address, u" horse "_s, fixture.note());
            QCOMPARE(signsUp ? fixture.outcome() : fixture.signIn(), expected);
            fixture.settle();
            const bool signedIn = expected == u"false";
            QCOMPARE(fixture.published(), signedIn ? u"access new"_s : u"access old"_s);
            QCOMPARE(fixture.slot.writes, signedIn ? 1 : 0);
            QCOMPARE(fixture.service.requests().last().body,
                     R"({"email":"typed@example.org","password":" horse "})");
        }
    }

    void changesAreAnnouncedBeforeAndAfterOneTurnLater() {
        Fixture fixture;
        connect(&fixture.store, &AuthStore::sessionAboutToChange, this, fixture.look());
        connect(&fixture.store, &AuthStore::sessionChanged, this, fixture.look());
        fixture.script(200, tokens("new"));
        QCOMPARE(fixture.signIn(), u"done"_s);
        fixture.settle();
        QCOMPARE(fixture.outcome(), u"nobody|access new"_s);
        fixture.store.signOut();
        QVERIFY(!fixture.store.isSignedIn());
        QCOMPARE(fixture.slot.content, std::nullopt);
        QVERIFY(fixture.outcomes.isEmpty());
        fixture.settle();
        QCOMPARE(fixture.outcome(), u"access new|nobody"_s);
    }

    void callbackTokens() {
        for (const auto& [status, email] : {std::pair(401, u"g@example.org"_s), {0, u"Google account"_s}}) {
            Fixture fixture;
            fixture.store.handleCallback("tavrik://auth-callback#error=earlier");
            QTRY_COMPARE(fixture.store.lastOAuthError(), u"earlier"_s);
            QStringList changes;
            connect(&fixture.store, &AuthStore::lastOAuthErrorChanged, this, [&] { changes << u"error"_s; });
            connect(&fixture.store, &AuthStore::sessionChanged, this, [&] { changes << u"session"_s; });
            fixture.script(status, R"({"email":"g@example.org"})");
            fixture.store.handleCallback(callback);
            QTRY_COMPARE(changes, QStringList({u"error"_s, u"session"_s}));
            const auto& signedIn = *fixture.store.session();
            QCOMPARE(signedIn.accessToken + u'/' + signedIn.refreshToken + u'/' + signedIn.email,
                     u"a b/r/"_s + email);
            const auto left = signedIn.expiresAt - std::chrono::system_clock::now();
            QVERIFY(left <= 100s && left > 0s);
        }
    }

    void refreshes() {
        for (const auto& [members, lifetime, email] :
             {std::tuple(R"("expires_in":"7200","user":{"email":1})"_ba, 3600.0, u"old@example.org"_s),
              {R"("expires_in":65.5,"user":{"email":"é@example.org"})", 65.5, u"é@example.org"_s}}) {
            Fixture fixture(session(60));
            fixture.script(200, tokens("new", members));
            for (int round = 0; round < 2; ++round) {
                fixture.store.withValidAccessToken(fixture.note());
                QCOMPARE(fixture.outcome(), u"access new"_s);
            }
            QCOMPARE(fixture.service.requests().size(), 1);
            QCOMPARE(fixture.service.requests().first().body, R"({"refresh_token":"refresh old"})");
            fixture.settle();
            const auto refreshed = fixture.store.session().value_or(AuthSession{});
            const AuthSession::Seconds left = refreshed.expiresAt - std::chrono::system_clock::now();
            QVERIFY(left.count() <= lifetime && left.count() > lifetime - 60);
            QCOMPARE(refreshed.email, email);
            QCOMPARE(fixture.slot.content, refreshed.toJson());
        }
    }

    void theUserOvertakesReplies() {
        for (const bool signsIn : {false, true}) {
            Fixture fixture(session(30));
            auto hold = std::make_unique<MainQueue::Hold>(fixture.queue);
            fixture.script(200, tokens("other"));
            fixture.script(200, tokens("late"));
            fixture.script(400, R"({"msg":"later"})");
            if (signsIn)
                fixture.store.signIn(address, u"p"_s, fixture.note());
            else
                fixture.store.handleCallback(callback);
            QTRY_COMPARE(fixture.service.requests().size(), 1);
            fixture.store.withValidAccessToken(fixture.note());
            QTRY_COMPARE(fixture.service.requests().size(), 2);
            if (!signsIn)
                fixture.store.signOut();
            hold.reset();
            // When a later request has been answered, the replies to these have been handled.
            fixture.store.signUp(address, u"p"_s, fixture.note());
            QTRY_COMPARE(fixture.outcomes.join(u'|'),
                         signsIn ? u"done|access other|! later"_s : u"! Not signed in.|! later"_s);
            fixture.settle();
            QCOMPARE(fixture.published(), signsIn ? u"access other"_s : u"nobody"_s);
        }
    }

    void theStoredSession() {
        enum { prompt, slow, overtaken };
        for (const auto reading : {prompt, slow, overtaken}) {
            Fixture fixture(session(3600), false);
            fixture.store.whenSessionLoaded(fixture.look());
            fixture.settle();
            QVERIFY(fixture.outcomes.isEmpty());
            if (reading == prompt)
                fixture.slot.finishReading();
            else if (reading == overtaken)
                fixture.store.signOut();
            QCOMPARE(fixture.outcome(), reading == prompt ? u"access old"_s : u"nobody"_s);
            QCOMPARE(bool(fixture.slot.reading), reading == slow);
            fixture.slot.finishReading();
            QCOMPARE(fixture.published(), reading == overtaken ? u"nobody"_s : u"access old"_s);
            QCOMPARE(fixture.slot.writes, reading == overtaken ? 1 : 0);
        }
    }

    void aBuildWithoutABackend() {
        Fixture fixture;
        AuthStore store(fixture.slot, fixture.http, fixture.queue, {});
        QVERIFY(!fixture.slot.reading);
        QVERIFY(store.googleSignInURL().isEmpty());
        store.whenSessionLoaded(fixture.look());
        QCOMPARE(fixture.outcome(), u"nobody"_s);
        store.signIn(address, u"p"_s, fixture.note());
        QCOMPARE(fixture.outcome(), u"! This build of Tavrik has no server to sign in to."_s);
        store.handleCallback(callback);
        QTRY_VERIFY(store.lastOAuthError());
    }

    void aDestroyedStoreCallsNobody() {
        Fixture fixture;
        auto store = std::make_unique<AuthStore>(fixture.slot, fixture.http, fixture.queue,
                                                 Supabase{fixture.service.url(), "anonymous"});
        fixture.script(200, tokens("late"));
        store->signIn(address, u"p"_s, fixture.note());
        store->whenSessionLoaded(fixture.look());
        store.reset();
        QTRY_COMPARE(fixture.service.requests().size(), 1);
        QVERIFY(fixture.signIn().startsWith(u"! "));
    }
};

QTEST_GUILESS_MAIN(AuthStoreTest)
#include "tst_authstore.moc"
