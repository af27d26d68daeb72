#include "account/AuthReplies.h"
#include "account/AuthStore.h"
#include "base/MainQueue.h"
#include "mock-server/LocalService.h"
#include "mock-server/RequestChecks.h"
#include "services/HttpClient.h"
#include "support/FakeSecureSlot.h"

#include <QTcpServer>
#include <QTest>

using namespace tavrik;
using namespace tavrik::backend;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Ending = ScriptedReply::Ending;

namespace {

constexpr auto signInPath = "/auth/v1/token";
constexpr auto userPath = "/auth/v1/user";
const auto address = u"typed@example.org"_s;
const auto password = u" correct horse "_s;

/// A reply with tokens, of the given name and seconds to live.
QByteArray tokens(const QByteArray& name, int lifetime = 3600) {
    return R"({"access_token":"access )" + name + R"(","refresh_token":"refresh )" + name +
           R"(","expires_in":)" + QByteArray::number(lifetime) + "}";
}

AuthSession session(const QString& name, double secondsLeft) {
    return {u"access "_s + name, u"refresh "_s + name,
            std::chrono::system_clock::now() + AuthSession::Seconds(secondsLeft), name + u"@example.org"_s};
}

/// A service that answers when the test says so.
class PatientService : public HttpHandler {
public:
    PatientService() { m_server.listen(); }

    QUrl url() const { return QUrl(u"http://127.0.0.1:%1"_s.arg(m_server.port())); }
    size_t requestCount() const { return m_requests.size(); }

    /// Answers one of the requests, counted from 0.
    void reply(size_t request, int status, const QByteArray& body) {
        m_requests[request]({.status = status, .body = body});
    }

    std::optional<ScriptedReply> script(const Request&) override { return {}; }
    void received(const Request&) override {}
    void answer(const Request&, Responder respond) override { m_requests.push_back(std::move(respond)); }

private:
    std::vector<Responder> m_requests;
    HttpServer m_server{std::make_unique<QTcpServer>(), *this};
};

/// One user of one service.
template<class Service>
struct SettingOf {
    enum class Slot { read, unread };

    explicit SettingOf(const std::optional<AuthSession>& stored = {}, Slot state = Slot::read) {
        if (stored)
            slot.content = stored->toJson();
        if (state == Slot::read)
            slot.finishReading();
    }

    /// What the next request gets; a status of 0 stands for no reply at all.
    void script(int status, const QByteArray& body, const QByteArray& path = {}) {
        service.script({{.path = path,
                         .reply = {.status = status, .body = body},
                         .ending = status ? Ending::Complete : Ending::Reset}});
    }

    /// Runs what is still in the main queue.
    void settle() {
        bool done = false;
        queue.post([&] { done = true; });
        QVERIFY(QTest::qWaitFor([&] { return done; }));
    }

    Result<void> signIn() {
        return outcome<void>(
            [&](auto completion) { store.signIn(address, password, std::move(completion)); });
    }
    Result<bool> signUp() {
        return outcome<bool>(
            [&](auto completion) { store.signUp(address, password, std::move(completion)); });
    }
    Result<QString> token() {
        return outcome<QString>([&](auto completion) { store.withValidAccessToken(std::move(completion)); });
    }

    template<class T>
    static Result<T> outcome(const std::function<void(Completion<T>)>& start) {
        QList<Result<T>> outcomes;
        start([&](Result<T> result) { outcomes.append(std::move(result)); });
        if (!QTest::qWaitFor([&] { return !outcomes.isEmpty(); }, 60000))
            return std::unexpected(Error{u"never completed"_s});
        return outcomes.size() == 1 ? outcomes.first() : std::unexpected(Error{u"completed twice"_s});
    }

    Service service;
    MainQueue queue;
    HttpClient http{queue};
    fake::Slot slot;
    AuthStore store{slot, http, queue, {service.url(), publicKey()}};
};

using Setting = SettingOf<test::LocalService>;
using PatientSetting = SettingOf<PatientService>;

QString description(const auto& result) {
    return result ? QString() : result.error().description;
}

} // namespace

class AuthStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theServiceTakesWhatItIsSent() {
        Setting setting;
        QVERIFY(setting.signUp());
        setting.store.signOut();
        QVERIFY(setting.signIn());
        setting.settle();
        QCOMPARE(setting.store.session()->email, address);
        QCOMPARE(setting.service.requests().last().body,
                 R"({"email":"typed@example.org","password":" correct horse "})");
    }

    void tokenReplies() {
        const std::tuple<QByteArray, double, QString> rows[]{
            {"", 3600, address},
            {R"(,"expires_in":90.5)", 90.5, address},
            {R"(,"expires_in":"7200","user":{"email":1})", 3600, address},
            {R"(,"user":{"email":"server@example.org"})", 3600, u"server@example.org"_s}};
        for (const auto& [members, lifetime, email] : rows) {
            const auto reply = authReplyObject(R"({"access_token":"a","refresh_token":"r")" + members + "}");
            const AuthSession::Time now = std::chrono::system_clock::now();
            const AuthSession expected{u"a"_s, u"r"_s, now + AuthSession::Seconds(lifetime), email};
            QVERIFY2(authReplySession(reply, address, now) == expected, members.constData());
        }
    }

    void refusals() {
        const auto unexpected = u"Unexpected response from the auth server."_s;
        const std::tuple<int, QByteArray, QString> rows[]{
            {400, R"({"error_description":"1","msg":"2","error":{"message":"3"},"message":"4"})", u"1"_s},
            {422, R"({"error_description":1,"msg":"2","error":{"message":"3"},"message":"4"})", u"2"_s},
            {400, R"({"msg":null,"error":{"message":" <b>ن</b>\n"},"message":"4"})", u" <b>ن</b>\n"_s},
            {400, R"({"error":{"message":["3"]},"message":""})", QString()},
            {502, "<html>Bad gateway</html>", u"Sign-in failed (HTTP 502)"_s},
            {300, tokens("x"), u"Sign-in failed (HTTP 300)"_s},
            {0, "", u"The server closed the connection before its reply was complete"_s},
            {200, "yes", unexpected},
            {200, R"({"refresh_token":"r"})", unexpected},
            {200, R"({"access_token":"a","refresh_token":null})", unexpected}};
        const auto before = session(u"old"_s, 3600);
        Setting setting(before);
        for (const auto& [status, body, message] : rows) {
            setting.script(status, body);
            const auto result = setting.signIn();
            QVERIFY2(!result, body.constData());
            QCOMPARE(result.error().description, message);
        }
        setting.settle();
        QCOMPARE(setting.store.session()->accessToken, before.accessToken);
        QCOMPARE(setting.slot.writes, 0);
    }

    void signUps() {
        const std::tuple<int, QByteArray, std::optional<bool>> rows[]{
            {200, R"({"id":"1","refresh_token":"r"})", true},
            {204, "", true},
            {200, R"({"access_token":null})", std::nullopt},
            {422, R"({"msg":"User already registered"})", std::nullopt},
            {200, tokens("new"), false}};
        for (const auto& [status, body, confirmation] : rows) {
            Setting setting;
            setting.script(status, body);
            const auto result = setting.signUp();
            QCOMPARE(result ? std::optional(*result) : std::nullopt, confirmation);
            setting.settle();
            QCOMPARE(setting.store.session().has_value(), confirmation == false);
            QCOMPARE(setting.slot.writes, confirmation == false ? 1 : 0);
        }
    }

    void aChangeIsAnnouncedBeforeAndAfterOneTurnLater() {
        Setting setting;
        QStringList seen;
        const auto note = [&](const QString& what) {
            const auto& session = setting.store.session();
            seen << what + u": "_s + (session ? session->accessToken : u"nobody"_s);
        };
        connect(&setting.store, &AuthStore::sessionAboutToChange, this, [&] { note(u"before"_s); });
        connect(&setting.store, &AuthStore::sessionChanged, this, [&] { note(u"after"_s); });

        setting.script(200, tokens("new"));
        QVERIFY(setting.signIn());
        QCOMPARE(seen, QStringList());
        setting.settle();
        QCOMPARE(seen, QStringList({u"before: nobody"_s, u"after: access new"_s}));
        QCOMPARE(setting.slot.content, setting.store.session()->toJson());

        seen.clear();
        setting.store.signOut();
        QVERIFY(!setting.store.isSignedIn());
        QCOMPARE(setting.slot.content, std::nullopt);
        QCOMPARE(seen, QStringList());
        setting.settle();
        QCOMPARE(seen, QStringList({u"before: access new"_s, u"after: nobody"_s}));
        QCOMPARE(setting.service.requests().size(), 1);
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

            setting.script(status, user, userPath);
            setting.store.handleCallback(
                "tavrik://auth-callback#access_token=a%20b&refresh_token=r&expires_in=100");
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

    void aRefresh() {
        Setting setting(session(u"old"_s, 30));
        setting.script(200, tokens("new", 30), signInPath);
        setting.script(200, R"({"user":{"email":"new@example.org"},)" + tokens("newer").sliced(1),
                       signInPath);
        const std::pair<QString, QString> expected[]{{u"access new"_s, u"old@example.org"_s},
                                                     {u"access newer"_s, u"new@example.org"_s},
                                                     {u"access newer"_s, u"new@example.org"_s}};
        for (const auto& [token, email] : expected) {
            QCOMPARE(setting.token().value_or(QString()), token);
            setting.settle();
            QCOMPARE(setting.store.session()->email, email);
            QCOMPARE(setting.slot.content, setting.store.session()->toJson());
        }
        QCOMPARE(setting.service.requests().size(), 2);
    }

    void aFailedRefreshSignsOut() {
        for (const auto& [status, reply] : {std::pair(400, R"({"msg":"revoked"})"), {200, "{}"}, {0, ""}}) {
            Setting setting(session(u"old"_s, -5));
            setting.script(status, reply);
            QCOMPARE(description(setting.token()), u"Your session expired — please sign in again."_s);
            QVERIFY(!setting.store.isSignedIn());
            QCOMPARE(setting.slot.content, std::nullopt);
            setting.settle();
            QVERIFY(!setting.store.session());
            QCOMPARE(setting.service.requests().size(), 1);
        }
    }

    void aRefreshDoesNotOutliveItsSession() {
        for (const int status : {200, 400}) {
            for (const bool signedInAgain : {false, true}) {
                PatientSetting setting(session(u"old"_s, 30));
                std::optional<Result<QString>> outcome;
                setting.store.withValidAccessToken(
                    [&](Result<QString> result) { outcome = std::move(result); });
                QTRY_COMPARE(setting.service.requestCount(), 1u);
                setting.store.signOut();
                if (signedInAgain) {
                    setting.store.signIn(u"e"_s, u"p"_s, [](const Result<void>&) {});
                    QTRY_COMPARE(setting.service.requestCount(), 2u);
                    setting.service.reply(1, 200, tokens("other"));
                    QTRY_VERIFY(setting.store.isSignedIn());
                }
                const auto kept = setting.slot.content;
                setting.service.reply(0, status, tokens("late"));
                QTRY_VERIFY(outcome);
                setting.settle();
                QCOMPARE(setting.slot.content, kept);
                QCOMPARE(setting.store.session().has_value(), signedInAgain);
                if (signedInAgain)
                    QCOMPARE(outcome->value_or(QString()), u"access other"_s);
                else
                    QCOMPARE(description(*outcome), u"Not signed in."_s);
            }
        }
    }

    void aSignOutEndsASignInInTheBrowser() {
        PatientSetting setting(session(u"old"_s, 3600));
        setting.store.handleCallback("tavrik://auth-callback#access_token=a&refresh_token=r");
        QTRY_COMPARE(setting.service.requestCount(), 1u);
        setting.store.signOut();
        setting.service.reply(0, 200, "{}");
        // By the time a later request has been answered, the first answer has been
        // dealt with.
        bool refused = false;
        setting.store.signIn(u"e"_s, u"p"_s, [&](const Result<void>& result) { refused = !result; });
        QTRY_COMPARE(setting.service.requestCount(), 2u);
        setting.service.reply(1, 400, "{}");
        QTRY_VERIFY(refused);
        setting.settle();
        QVERIFY(!setting.store.session());
        QCOMPARE(setting.slot.content, std::nullopt);
    }

    void theStoredSession() {
        using Stored = std::optional<QByteArray>;
        for (const auto& [stored, signedIn] : {std::pair(Stored(), false),
                                               {Stored(session(u"old"_s, -1e9).toJson()), true},
                                               {Stored("{}"), false}}) {
            Setting setting({}, Setting::Slot::unread);
            setting.slot.content = stored;
            auto& store = setting.store;
            QList<bool> known;
            store.whenKnown([&] { known << store.isSignedIn(); });
            setting.settle();
            QCOMPARE(known, QList<bool>());
            setting.slot.finishReading();
            QCOMPARE(store.session().has_value(), signedIn);
            QTRY_COMPARE(known, QList<bool>{signedIn});
            store.whenKnown([&] { known << store.isSignedIn(); });
            QCOMPARE(known.size(), 2);
            QCOMPARE(setting.slot.content, stored);
            QCOMPARE(setting.slot.writes, 0);
        }
    }

    void aSlowSlot() {
        Setting setting(session(u"old"_s, 3600), Setting::Slot::unread);
        bool known = false;
        setting.store.whenKnown([&] { known = true; });
        QTRY_VERIFY_WITH_TIMEOUT(known, 60000);
        QVERIFY(!setting.store.isSignedIn());
        setting.slot.finishReading();
        QCOMPARE(setting.store.session()->accessToken, u"access old"_s);
    }

    void whatTheUserDoesOvertakesASlowSlot() {
        for (const bool in : {true, false}) {
            Setting setting({}, Setting::Slot::unread);
            bool known = false;
            setting.store.whenKnown([&] { known = true; });
            setting.script(200, tokens("new"));
            if (in)
                QVERIFY(setting.signIn());
            else
                setting.store.signOut();
            QVERIFY(!setting.slot.reading);
            QCOMPARE(setting.slot.content.has_value(), in);
            QTRY_VERIFY(known);
            setting.settle();
            QCOMPARE(setting.store.session().has_value(), in);
        }
    }

    void aBuildWithoutABackend() {
        Setting setting;
        fake::Slot slot;
        AuthStore store(slot, setting.http, setting.queue, {});
        QVERIFY(!slot.reading);
        bool known = false;
        store.whenKnown([&] { known = true; });
        QVERIFY(known);
        QVERIFY(store.googleSignInURL().isEmpty());
        const auto message = u"This build of Tavrik has no server to sign in to."_s;
        const auto start = [&](auto completion) {
            store.signIn(u"e"_s, u"p"_s, std::move(completion));
        };
        QCOMPARE(description(Setting::outcome<void>(start)), message);
        store.handleCallback("tavrik://auth-callback#access_token=a&refresh_token=r");
        QTRY_COMPARE(store.lastOAuthError(), message);
        QVERIFY(!store.isSignedIn());
        QCOMPARE(slot.writes, 0);
    }

    void aStoreThatIsGoneCallsNobody() {
        Setting setting;
        bool called = false;
        {
            fake::Slot slot;
            AuthStore store(slot, setting.http, setting.queue, {setting.service.url(), "anonymous"});
            setting.script(200, tokens("new"));
            store.signIn(u"e"_s, u"p"_s, [&](const Result<void>&) { called = true; });
            store.whenKnown([&] { called = true; });
        }
        QTRY_COMPARE(setting.service.requests().size(), 1);
        setting.script(400, {});
        QVERIFY(!setting.signIn());
        QVERIFY(!called);
    }
};

QTEST_GUILESS_MAIN(AuthStoreTest)
#include "tst_authstore.moc"
