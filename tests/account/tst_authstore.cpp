#include "account/AuthReplies.h"
#include "account/AuthStore.h"
#include "base/MainQueue.h"
#include "mock-server/MockServer.h"
#include "mock-server/RequestChecks.h"
#include "services/HttpClient.h"
#include "support/FakeSecureSlot.h"

#include <QJsonDocument>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using mock::ScriptedReply;

namespace {

constexpr auto tokenPath = "/auth/v1/token";
constexpr auto callback = "tavrik://auth-callback#access_token=a%20b&refresh_token=r&expires_in=100";
const auto address = u"typed@example.org"_s;
const auto expired = u"Your session expired — please sign in again."_s;

/// As stored by earlier versions.
const QByteArray storedJson =
    R"({"accessToken":"access","email":"ر@example.org","expiresAt":800000000.5,"refreshToken":"\"r\""})";

/// A reply with tokens.
QByteArray tokens(const QByteArray& name, const QByteArray& members = R"("expires_in":3600)") {
    return R"({"access_token":"access )" + name + R"(","refresh_token":"refresh )" + name + R"(",)" +
           members + "}";
}

AuthSession session(double secondsLeft) {
    return {u"access old"_s, u"refresh old"_s,
            std::chrono::system_clock::now() + AuthSession::Seconds(secondsLeft), u"old@example.org"_s};
}

/// The mock server; while it holds, its answers wait for the test.
class Service : public mock::MockServer {
public:
    Service() : MockServer({.upstream = {}, .accounts = {}, .controllable = true}) { m_server.listen(); }
    QUrl url() const { return QUrl(u"http://127.0.0.1:%1"_s.arg(m_server.port())); }

    void answer(const mock::Request& request, Responder respond) override {
        if (holds)
            held.push_back(std::move(respond));
        else
            MockServer::answer(request, std::move(respond));
    }

    bool holds = false;
    std::vector<Responder> held;

private:
    mock::HttpServer m_server{std::make_unique<QTcpServer>(), *this};
};

/// One user of one service.
struct Setting {
    explicit Setting(const std::optional<AuthSession>& stored = {}, bool slotIsRead = true) {
        if (stored)
            slot.content = stored->toJson();
        if (slotIsRead)
            slot.finishReading();
    }

    /// The reply to the next request; a status of 0 resets the connection instead.
    void script(int status, const QByteArray& body, const QByteArray& path = {}) {
        service.addScript(
            {{.path = path,
              .reply = {.status = status, .body = body},
              .ending = status ? ScriptedReply::Ending::complete : ScriptedReply::Ending::reset}});
    }

    /// Runs the jobs in the main queue.
    void settle() {
        bool done = false;
        queue.post([&] { done = true; });
        QVERIFY(QTest::qWaitFor([&] { return done; }));
    }

    /// The result of an operation, or its error after "! ".
    template<class T>
    static QString outcome(const std::function<void(Completion<T>)>& start) {
        QStringList outcomes;
        start([&](const Result<T>& result) {
            if (!result)
                outcomes << u"! "_s + result.error().description;
            else if constexpr (std::is_void_v<T>)
                outcomes << u"done"_s;
            else
                outcomes << QVariant(*result).toString();
        });
        return QTest::qWaitFor([&] { return !outcomes.isEmpty(); }, 60000) ? outcomes.join(u'|') : QString();
    }
    QString signIn() {
        return outcome<void>([&](auto done) { store.signIn(address, u" horse "_s, std::move(done)); });
    }
    QString signUp() {
        return outcome<bool>([&](auto done) { store.signUp(address, u" horse "_s, std::move(done)); });
    }
    QString token() {
        return outcome<QString>([&](auto done) { store.withValidAccessToken(std::move(done)); });
    }
    QString published() const { return store.session() ? store.session()->accessToken : u"nobody"_s; }

    Service service;
    MainQueue queue;
    HttpClient http{queue};
    fake::Slot slot;
    AuthStore store{slot, http, queue, {service.url(), mock::publicKey()}};
};

} // namespace

class AuthStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void storedForm() {
        const AuthSession expected{u"access"_s, u"\"r\""_s,
                                   AuthSession::Time(std::chrono::sys_days{2001y / 1 / 1}) +
                                       AuthSession::Seconds(800000000.5),
                                   u"ر@example.org"_s};
        QCOMPARE(expected.toJson(), storedJson);
        QVERIFY(AuthSession::fromJson(storedJson) == expected);
        const auto object = QJsonDocument::fromJson(storedJson).object();
        for (const auto& member : object.keys()) {
            for (const QJsonValue& other : {QJsonValue(QJsonValue::Undefined), QJsonValue(true)}) {
                auto changed = object;
                changed.insert(member, other);
                QVERIFY2(!AuthSession::fromJson(QJsonDocument(changed).toJson()), qPrintable(member));
            }
        }
        QVERIFY(!AuthSession::fromJson("[" + storedJson + "]"));
        QVERIFY(expected.isFresh(expected.expiresAt - AuthSession::Seconds(60.5)));
        QVERIFY(!expected.isFresh(expected.expiresAt - AuthSession::Seconds(60)));
    }

    void signsUpAndInAtTheMockServer() {
        Setting setting;
        QCOMPARE(setting.signUp(), u"false"_s);
        setting.store.signOut();
        QCOMPARE(setting.signIn(), u"done"_s);
        setting.settle();
        QCOMPARE(setting.store.session()->email, address);
        QCOMPARE(setting.service.requests().last().body,
                 R"({"email":"typed@example.org","password":" horse "})");
    }

    void tokenReplies() {
        const std::tuple<QByteArray, double, QString> rows[]{
            {R"("x":0)", 3600, address},
            {R"("expires_in":90.5)", 90.5, address},
            {R"("expires_in":-1e308)", -1e308, address},
            {R"("expires_in":"7200","user":{"email":1})", 3600, address},
            {R"("user":{"email":"\ud800é\u0000@example.org"})", 3600,
             QChar(0xd800) + u"é"_s + QChar(0) + u"@example.org"_s}};
        for (const auto& [members, lifetime, email] : rows) {
            const AuthSession::Time now = std::chrono::system_clock::now();
            const auto session = authReplySession(authReplyObject(tokens("x", members)), address, now);
            QVERIFY2(session, members.constData());
            QCOMPARE(session->email, email);
            QVERIFY(session->expiresAt == now + AuthSession::Seconds(lifetime));
            QVERIFY(AuthSession::fromJson(session->toJson()));
        }
    }

    void refusals() {
        const auto unexpected = u"! Unexpected response from the auth server."_s;
        const std::tuple<int, QByteArray, QString> rows[]{
            {400, R"({"error_description":"1","msg":"2","error":{"message":"3"},"message":"4"})", u"! 1"_s},
            {422, R"({"error_description":1,"msg":"2","error":{"message":"3"},"message":"4"})", u"! 2"_s},
            {400, R"({"msg":null,"error":{"message":" <b>ن</b>\n"},"message":"4"})", u"!  <b>ن</b>\n"_s},
            {400, R"({"error":{"message":["3"]},"message":""})", u"! "_s},
            {502, "<html>Bad gateway</html>", u"! Sign-in failed (HTTP 502)"_s},
            {300, tokens("x"), u"! Sign-in failed (HTTP 300)"_s},
            {0, "", u"! The server closed the connection before its reply was complete"_s},
            {200, "yes", unexpected},
            {200, R"({"access_token":"a","refresh_token":null})", unexpected}};
        Setting setting(session(3600));
        for (const auto& [status, body, message] : rows) {
            setting.script(status, body);
            QCOMPARE(setting.signIn(), message);
        }
        setting.settle();
        QCOMPARE(setting.published(), u"access old"_s);
        QCOMPARE(setting.slot.writes, 0);
    }

    void signUps() {
        const std::tuple<int, QByteArray, QString> rows[]{
            {200, R"({"id":"1","refresh_token":"r"})", u"true"_s},
            {200, R"({"access_token":null})", u"! Unexpected response from the auth server."_s},
            {422, R"({"msg":"User already registered"})", u"! User already registered"_s},
            {200, tokens("new"), u"false"_s}};
        for (const auto& [status, body, outcome] : rows) {
            Setting setting;
            setting.script(status, body);
            QCOMPARE(setting.signUp(), outcome);
            setting.settle();
            QCOMPARE(setting.store.session().has_value(), outcome == u"false");
            QCOMPARE(setting.slot.writes, outcome == u"false" ? 1 : 0);
        }
    }

    void changesAreAnnouncedBeforeAndAfterOneTurnLater() {
        Setting setting;
        QStringList seen;
        connect(&setting.store, &AuthStore::sessionAboutToChange, this, [&] { seen << setting.published(); });
        connect(&setting.store, &AuthStore::sessionChanged, this, [&] { seen << setting.published(); });
        setting.script(200, tokens("new"));
        QCOMPARE(setting.signIn(), u"done"_s);
        QCOMPARE(seen, QStringList());
        setting.settle();
        QCOMPARE(seen, QStringList({u"nobody"_s, u"access new"_s}));
        QCOMPARE(setting.slot.content, setting.store.session()->toJson());

        setting.store.signOut();
        QVERIFY(!setting.store.isSignedIn());
        QCOMPARE(setting.slot.content, std::nullopt);
        QCOMPARE(seen.size(), 2);
        setting.settle();
        QCOMPARE(seen.sliced(2), QStringList({u"access new"_s, u"nobody"_s}));
    }

    void callbackTokens() {
        const std::tuple<int, QByteArray, QString> rows[]{
            {401, R"({"email":"g@example.org"})", u"g@example.org"_s},
            {200, R"({"email":1})", u"Google account"_s},
            {0, "", u"Google account"_s}};
        for (const auto& [status, user, email] : rows) {
            Setting setting;
            setting.store.handleCallback("tavrik://auth-callback#error=earlier");
            QTRY_COMPARE(setting.store.lastOAuthError(), u"earlier"_s);
            QStringList changes;
            connect(&setting.store, &AuthStore::lastOAuthErrorChanged, this, [&] { changes << u"error"_s; });
            connect(&setting.store, &AuthStore::sessionChanged, this, [&] { changes << u"session"_s; });
            setting.script(status, user, "/auth/v1/user");
            setting.store.handleCallback(callback);
            QTRY_COMPARE(changes, QStringList({u"error"_s, u"session"_s}));
            QCOMPARE(setting.store.lastOAuthError(), std::nullopt);
            const auto& signedIn = *setting.store.session();
            QCOMPARE(signedIn.accessToken, u"a b"_s);
            QCOMPARE(signedIn.refreshToken, u"r"_s);
            QCOMPARE(signedIn.email, email);
            const auto left = signedIn.expiresAt - std::chrono::system_clock::now();
            QVERIFY(left <= 100s && left > 0s);
            QCOMPARE(setting.slot.content, signedIn.toJson());
            QCOMPARE(setting.service.requests().first().header("Authorization"), "Bearer a b"_ba);
        }
    }

    void refreshes() {
        Setting setting(session(30));
        setting.script(200, tokens("new", R"("expires_in":30)"), tokenPath);
        setting.script(200, tokens("newer", R"("user":{"email":"new@example.org"})"), tokenPath);
        const std::pair<QString, QString> expected[]{{u"access new"_s, u"old@example.org"_s},
                                                     {u"access newer"_s, u"new@example.org"_s},
                                                     {u"access newer"_s, u"new@example.org"_s}};
        for (const auto& [token, email] : expected) {
            QCOMPARE(setting.token(), token);
            setting.settle();
            QCOMPARE(setting.store.session()->email, email);
            QCOMPARE(setting.slot.content, setting.store.session()->toJson());
        }
        QCOMPARE(setting.service.requests().size(), 2);
        QCOMPARE(setting.service.requests().first().body, R"({"refresh_token":"refresh old"})");
    }

    void aFailedRefreshSignsOut() {
        for (const auto& [status, reply] : {std::pair(400, R"({"msg":"revoked"})"), {200, "{}"}, {0, ""}}) {
            Setting setting(session(-5));
            setting.script(status, reply);
            QCOMPARE(setting.token(), u"! "_s + expired);
            QVERIFY(!setting.store.isSignedIn());
            QCOMPARE(setting.slot.content, std::nullopt);
            setting.settle();
            QVERIFY(!setting.store.session());
        }
    }

    void aSignOutOvertakesARefresh() {
        for (const bool signedInAgain : {false, true}) {
            Setting setting(session(30));
            setting.service.holds = true;
            QString outcome;
            setting.store.withValidAccessToken([&](const Result<QString>& result) {
                outcome = result ? *result : result.error().description;
            });
            QTRY_COMPARE(setting.service.held.size(), 1U);
            setting.store.signOut();
            setting.script(200, tokens("other"));
            if (signedInAgain)
                QCOMPARE(setting.signIn(), u"done"_s);
            const auto kept = setting.slot.content;
            setting.service.held[0]({.body = tokens("late")});
            QTRY_COMPARE(outcome, signedInAgain ? u"access other"_s : u"Not signed in."_s);
            setting.settle();
            QCOMPARE(setting.slot.content, kept);
            QCOMPARE(setting.published(), signedInAgain ? u"access other"_s : u"nobody"_s);
        }
    }

    void aSignOutEndsASignInInTheBrowser() {
        Setting setting(session(3600));
        setting.service.holds = true;
        setting.store.handleCallback(callback);
        QTRY_COMPARE(setting.service.held.size(), 1U);
        setting.store.signOut();
        setting.service.held[0]({.body = "{}"});
        // When a later request has been answered, the first answer has been handled.
        setting.script(400, "{}");
        QVERIFY(setting.signIn() != u"done");
        setting.settle();
        QVERIFY(!setting.store.session());
        QCOMPARE(setting.slot.content, std::nullopt);
    }

    void theStoredSession() {
        using Stored = std::optional<QByteArray>;
        for (const auto& [stored, signedIn] :
             {std::pair(Stored(), false), {Stored(storedJson), true}, {Stored("{}"), false}}) {
            Setting setting({}, false);
            setting.slot.content = stored;
            QList<bool> loaded;
            const auto note = [&] {
                loaded << setting.store.isSignedIn();
            };
            setting.store.whenSessionLoaded(note);
            setting.settle();
            QCOMPARE(loaded, QList<bool>());
            setting.slot.finishReading();
            QCOMPARE(setting.store.session().has_value(), signedIn);
            QTRY_COMPARE(loaded, QList<bool>{signedIn});
            setting.store.whenSessionLoaded(note);
            QCOMPARE(loaded.size(), 2);
            QCOMPARE(setting.slot.content, stored);
            QCOMPARE(setting.slot.writes, 0);
        }
    }

    void aSlowSlot() {
        Setting setting(session(3600), false);
        bool loaded = false;
        setting.store.whenSessionLoaded([&] { loaded = true; });
        QTRY_VERIFY_WITH_TIMEOUT(loaded, 60000);
        QVERIFY(!setting.store.isSignedIn());
        setting.slot.finishReading();
        QCOMPARE(setting.published(), u"access old"_s);
    }

    void theUserOvertakesASlowSlot() {
        for (const bool in : {true, false}) {
            Setting setting({}, false);
            bool loaded = false;
            setting.store.whenSessionLoaded([&] { loaded = true; });
            setting.script(200, tokens("new"));
            if (in)
                QCOMPARE(setting.signIn(), u"done"_s);
            else
                setting.store.signOut();
            QVERIFY(!setting.slot.reading);
            QCOMPARE(setting.slot.content.has_value(), in);
            QTRY_VERIFY(loaded);
            setting.settle();
            QCOMPARE(setting.store.session().has_value(), in);
        }
    }

    void aBuildWithoutABackend() {
        Setting setting;
        fake::Slot slot;
        AuthStore store(slot, setting.http, setting.queue, {});
        QVERIFY(!slot.reading);
        bool loaded = false;
        store.whenSessionLoaded([&] { loaded = true; });
        QVERIFY(loaded);
        QVERIFY(store.googleSignInURL().isEmpty());
        const auto message = u"This build of Tavrik has no server to sign in to."_s;
        QCOMPARE(Setting::outcome<void>([&](auto done) { store.signIn(u"e"_s, u"p"_s, std::move(done)); }),
                 u"! "_s + message);
        store.handleCallback(callback);
        QTRY_COMPARE(store.lastOAuthError(), message);
        QVERIFY(!store.isSignedIn());
    }

    void aDestroyedStoreCallsNobody() {
        Setting setting;
        bool called = false;
        {
            fake::Slot slot;
            AuthStore store(slot, setting.http, setting.queue, {setting.service.url(), "anonymous"});
            store.signIn(u"e"_s, u"p"_s, [&](const Result<void>&) { called = true; });
            store.whenSessionLoaded([&] { called = true; });
        }
        QTRY_COMPARE(setting.service.requests().size(), 1);
        QVERIFY(setting.signIn() != u"done");
        QVERIFY(!called);
    }
};

QTEST_GUILESS_MAIN(AuthStoreTest)
#include "tst_authstore.moc"
