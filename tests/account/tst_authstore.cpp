#include "account/AuthStore.h"
#include "backend/LocalService.h"
#include "base/HttpClient.h"
#include "base/MainQueue.h"
#include "support/FakeSecureSlot.h"

#include <QJsonDocument>
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

    Result<void> signIn(const QString& email = u"typed@example.org"_s,
                        const QString& password = u"secret"_s) {
        return outcome<void>([&](auto completion) { store.signIn(email, password, std::move(completion)); });
    }
    Result<bool> signUp(const QString& email = u"typed@example.org"_s,
                        const QString& password = u"secret"_s) {
        return outcome<bool>([&](auto completion) { store.signUp(email, password, std::move(completion)); });
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
    AuthStore store{slot, http, queue, {service.url(), "anonymous"}};
};

using Setting = SettingOf<test::LocalService>;
using PatientSetting = SettingOf<PatientService>;

QString description(const auto& result) {
    return result ? QString() : result.error().description;
}

QJsonObject object(const QByteArray& json) {
    return QJsonDocument::fromJson(json).object();
}

} // namespace

class AuthStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void requests() {
        Setting setting(session(u"old"_s, 30));
        const auto email = u" Typed@Example.org "_s;
        const auto password = u" pässwörd\n"_s;
        const QJsonObject credentials{{u"email"_s, email}, {u"password"_s, password}};
        for (int i = 0; i < 3; ++i)
            setting.script(200, tokens("new"));
        QVERIFY(setting.token());
        QVERIFY(setting.signIn(email, password));
        QVERIFY(setting.signUp(email, password));

        const std::pair<QByteArray, QJsonObject> expected[]{
            {"/auth/v1/token?grant_type=refresh_token", {{u"refresh_token"_s, u"refresh old"_s}}},
            {"/auth/v1/token?grant_type=password", credentials},
            {"/auth/v1/signup?", credentials}};
        const auto& requests = setting.service.requests();
        QCOMPARE(requests.size(), 3);
        for (qsizetype i = 0; i < 3; ++i) {
            QCOMPARE(requests[i].method, "POST"_ba);
            QCOMPARE(requests[i].path + '?' + requests[i].query, expected[i].first);
            QCOMPARE(requests[i].header("apikey"), "anonymous"_ba);
            QCOMPARE(requests[i].header("Content-Type"), "application/json"_ba);
            QCOMPARE(requests[i].header("Authorization"), QByteArray());
            QCOMPARE(object(requests[i].body), expected[i].second);
        }
    }

    void tokenReplies_data() {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("email");
        QTest::addColumn<double>("lifetime");
        const auto row = [](const char* name, const QByteArray& members, double lifetime = 3600,
                            const QString& email = u"typed@example.org"_s) {
            QTest::newRow(name) << R"({"access_token":"a","refresh_token":"r")" + members + "}" << email
                                << lifetime;
        };
        row("tokens alone", "");
        row("fractional lifetime", R"(,"expires_in":90.5)", 90.5);
        row("lifetime as text", R"(,"expires_in":"7200")");
        row("user", R"(,"user":{"email":"server@example.org"})", 3600, u"server@example.org"_s);
        row("user without an address", R"(,"user":{})");
        row("address a number", R"(,"user":{"email":1})");
    }

    void tokenReplies() {
        QFETCH(QByteArray, reply);
        QFETCH(QString, email);
        QFETCH(double, lifetime);
        Setting setting;
        setting.script(299, reply);
        const AuthSession::Time before = std::chrono::system_clock::now();
        QCOMPARE(description(setting.signIn()), QString());
        setting.settle();

        const auto& signedIn = setting.store.session();
        QVERIFY(signedIn);
        QCOMPARE(signedIn->accessToken, u"a"_s);
        QCOMPARE(signedIn->refreshToken, u"r"_s);
        QCOMPARE(signedIn->email, email);
        const AuthSession::Time after = std::chrono::system_clock::now();
        QVERIFY(signedIn->expiresAt >= before + AuthSession::Seconds(lifetime));
        QVERIFY(signedIn->expiresAt <= after + AuthSession::Seconds(lifetime));
        QCOMPARE(setting.slot.content, signedIn->toJson());
    }

    void refusals_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, int status, const QByteArray& body, const QString& message) {
            QTest::newRow(name) << status << body << message;
        };
        const auto fallback = [](int status) {
            return u"Sign-in failed (HTTP %1)"_s.arg(status);
        };
        const auto unexpected = u"Unexpected response from the auth server."_s;
        const auto lost = u"The server closed the connection before its reply was complete"_s;
        row("description first", 400,
            R"({"error_description":"1","msg":"2","error":{"message":"3"},"message":"4"})", u"1"_s);
        row("then msg", 422, R"({"error_description":1,"msg":"2","error":{"message":"3"},"message":"4"})",
            u"2"_s);
        row("then the error's message", 400, R"({"msg":null,"error":{"message":"3"},"message":"4"})", u"3"_s);
        row("then the message", 400, R"({"error":{"message":["3"]},"message":"4"})", u"4"_s);
        row("passed on as it is", 400, R"({"msg":" <b>ن</b>\n"})", u" <b>ن</b>\n"_s);
        row("an empty text", 400, R"({"msg":""})", QString());
        row("nothing usable", 401, R"({"msg":{},"message":7,"error":null})", fallback(401));
        row("an array", 500, R"([{"msg":"x"}])", fallback(500));
        row("not JSON", 502, "<html>Bad gateway</html>", fallback(502));
        row("tokens with a refusal", 300, tokens("x"), fallback(300));
        row("a redirect", 307, "", fallback(307));

        row("no reply", 0, "", lost);
        row("success, not JSON", 200, "yes", unexpected);
        row("no access token", 200, R"({"refresh_token":"r"})", unexpected);
        row("no refresh token", 200, R"({"access_token":"a"})", unexpected);
        row("refresh token null", 200, R"({"access_token":"a","refresh_token":null})", unexpected);
    }

    void refusals() {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, message);
        const auto before = session(u"old"_s, 3600);
        Setting setting(before);
        setting.script(status, body);
        const auto result = setting.signIn();
        QVERIFY(!result);
        QCOMPARE(result.error().description, message);
        setting.settle();
        QCOMPARE(setting.store.session()->accessToken, before.accessToken);
        QCOMPARE(setting.slot.writes, 0);
    }

    void signUps_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<std::optional<bool>>("confirmation");
        using Confirmation = std::optional<bool>;
        QTest::newRow("to be confirmed")
            << 200 << R"({"id":"1","refresh_token":"r"})"_ba << Confirmation(true);
        QTest::newRow("empty success") << 204 << ""_ba << Confirmation(true);
        QTest::newRow("tokens") << 200 << tokens("new") << Confirmation(false);
        QTest::newRow("token null") << 200 << R"({"access_token":null})"_ba << Confirmation();
        QTest::newRow("refused") << 422 << R"({"msg":"User already registered"})"_ba << Confirmation();
    }

    void signUps() {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(std::optional<bool>, confirmation);
        Setting setting;
        setting.script(status, body);
        const auto result = setting.signUp();
        QCOMPARE(result ? std::optional(*result) : std::nullopt, confirmation);
        setting.settle();
        QCOMPARE(setting.store.session().has_value(), confirmation == false);
        QCOMPARE(setting.slot.writes, confirmation == false ? 1 : 0);
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

        seen.clear();
        setting.store.signOut();
        QVERIFY(!setting.store.isSignedIn());
        QCOMPARE(setting.slot.content, std::nullopt);
        QCOMPARE(seen, QStringList());
        setting.settle();
        QCOMPARE(seen, QStringList({u"before: access new"_s, u"after: nobody"_s}));
        QCOMPARE(setting.service.requests().size(), 1);
    }

    void googlePage() {
        const Setting setting;
        QCOMPARE(setting.store.googleSignInURL().toEncoded(),
                 setting.service.url().toEncoded() +
                     "/auth/v1/authorize?provider=google&redirect_to=tavrik://"
                     "auth-callback");
    }

    void callbackTokens_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("user");
        QTest::addColumn<QString>("email");
        const auto unknown = u"Google account"_s;
        QTest::newRow("known") << 200 << R"({"email":"g@example.org"})"_ba << u"g@example.org"_s;
        QTest::newRow("whatever the status")
            << 401 << R"({"email":"g@example.org"})"_ba << u"g@example.org"_s;
        QTest::newRow("address a number") << 200 << R"({"email":1})"_ba << unknown;
        QTest::newRow("no address") << 200 << "{}"_ba << unknown;
        QTest::newRow("no reply") << 0 << ""_ba << unknown;
    }

    void callbackTokens() {
        QFETCH(int, status);
        QFETCH(QByteArray, user);
        Setting setting;
        setting.store.handleCallback("tavrik://auth-callback#error=earlier");
        setting.settle();
        QCOMPARE(setting.store.lastOAuthError(), u"earlier"_s);
        QStringList changes;
        connect(&setting.store, &AuthStore::lastOAuthErrorChanged, this, [&] { changes << u"error"_s; });
        connect(&setting.store, &AuthStore::sessionChanged, this, [&] { changes << u"session"_s; });

        setting.script(status, user, userPath);
        setting.store.handleCallback("tavrik://"
                                     "auth-callback#access_token=a%20b&refresh_token=r&expires_in=100");
        QTRY_COMPARE(changes, QStringList({u"error"_s, u"session"_s}));
        QCOMPARE(setting.store.lastOAuthError(), std::nullopt);
        const auto& signedIn = *setting.store.session();
        QCOMPARE(signedIn.accessToken, u"a b"_s);
        QCOMPARE(signedIn.refreshToken, u"r"_s);
        QTEST(signedIn.email, "email");
        const auto left = signedIn.expiresAt - std::chrono::system_clock::now();
        QVERIFY(left <= 100s && left > 0s);
        QCOMPARE(setting.slot.content, signedIn.toJson());

        const auto& request = setting.service.requests().first();
        QCOMPARE(request.method, "GET"_ba);
        QCOMPARE(request.path, QByteArray(userPath));
        QCOMPARE(request.header("apikey"), "anonymous"_ba);
        QCOMPARE(request.header("Authorization"), "Bearer a b"_ba);
        QVERIFY(request.body.isEmpty());
    }

    void otherCallbacks() {
        Setting setting(session(u"old"_s, 3600));
        setting.store.handleCallback("tavrik://auth-callback?access_token=a&refresh_token=r");
        setting.store.handleCallback("https://auth-callback#error=x");
        setting.settle();
        QCOMPARE(setting.store.lastOAuthError(), std::nullopt);

        setting.store.handleCallback("tavrik://auth-callback#access_token=a");
        QCOMPARE(setting.store.lastOAuthError(), std::nullopt);
        setting.settle();
        QCOMPARE(setting.store.lastOAuthError(), u"Google sign-in failed."_s);

        setting.script(200, tokens("new"));
        QVERIFY(setting.signIn());
        setting.store.signOut();
        setting.settle();
        QCOMPARE(setting.store.lastOAuthError(), u"Google sign-in failed."_s);
        setting.store.clearLastOAuthError();
        QCOMPARE(setting.store.lastOAuthError(), std::nullopt);
    }

    void aTokenAtOnce() {
        const auto now = [](AuthStore& store) {
            std::optional<Result<QString>> outcome;
            store.withValidAccessToken([&](Result<QString> result) { outcome = std::move(result); });
            return outcome;
        };
        Setting fresh(session(u"old"_s, 3600));
        QCOMPARE(now(fresh.store)->value(), u"access old"_s);
        fresh.store.signOut();
        QCOMPARE(now(fresh.store)->error().description, u"Not signed in."_s);
        Setting stale(session(u"old"_s, 30));
        QVERIFY(!now(stale.store));
        QVERIFY(fresh.service.requests().isEmpty());
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

    void aFailedRefreshSignsOut_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::newRow("refused") << 400 << R"({"msg":"revoked"})"_ba;
        QTest::newRow("malformed") << 200 << "{}"_ba;
        QTest::newRow("no reply") << 0 << ""_ba;
    }

    void aFailedRefreshSignsOut() {
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        Setting setting(session(u"old"_s, -5));
        setting.script(status, reply);
        QCOMPARE(description(setting.token()), u"Your session expired — please sign in again."_s);
        QVERIFY(!setting.store.isSignedIn());
        QCOMPARE(setting.slot.content, std::nullopt);
        setting.settle();
        QVERIFY(!setting.store.session());
        QCOMPARE(setting.service.requests().size(), 1);
    }

    void aRefreshDoesNotOutliveItsSession_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("signedInAgain");
        QTest::newRow("succeeds after a sign-out") << 200 << false;
        QTest::newRow("fails after a sign-out") << 400 << false;
        QTest::newRow("succeeds after another sign-in") << 200 << true;
        QTest::newRow("fails after another sign-in") << 400 << true;
    }

    void aRefreshDoesNotOutliveItsSession() {
        QFETCH(int, status);
        QFETCH(bool, signedInAgain);
        PatientSetting setting(session(u"old"_s, 30));
        std::optional<Result<QString>> outcome;
        setting.store.withValidAccessToken([&](Result<QString> result) { outcome = std::move(result); });
        QTRY_COMPARE(setting.service.requestCount(), 1u);
        setting.store.signOut();
        if (signedInAgain) {
            bool done = false;
            setting.store.signIn(u"e"_s, u"p"_s,
                                 [&](const Result<void>& result) { done = result.has_value(); });
            QTRY_COMPARE(setting.service.requestCount(), 2u);
            setting.service.reply(1, 200, tokens("other"));
            QTRY_VERIFY(done);
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

    void theStoredSession_data() {
        QTest::addColumn<std::optional<QByteArray>>("stored");
        QTest::addColumn<bool>("signedIn");
        using Stored = std::optional<QByteArray>;
        QTest::newRow("none") << Stored() << false;
        QTest::newRow("long expired") << Stored(session(u"old"_s, -1e9).toJson()) << true;
        QTest::newRow("undecodable") << Stored("{}") << false;
    }

    void theStoredSession() {
        QFETCH(std::optional<QByteArray>, stored);
        QFETCH(bool, signedIn);
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
