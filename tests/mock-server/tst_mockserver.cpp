#include "mock-server/MockServer.h"
#include "mock-server/RequestChecks.h"
#include "mock-server/Secrets.h"
#include "support/Files.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace tavrik::mock;
using namespace tavrik::test;
using namespace Qt::StringLiterals;
using Header = std::pair<QByteArray, QByteArray>;

namespace {

const Headers project{{"Host", "127.0.0.1:1"}, {"apikey", publicKey()}, {"Content-Type", "application/json"}};

Reply ask(MockServer& mockServer, const QByteArray& method, const QByteArray& target, const Headers& headers,
          const QByteArray& body = {}) {
    Request request;
    request.method = method;
    request.path = target.split('?').first();
    request.query = target.split('?').value(1);
    request.headers = headers;
    request.body = body;
    Reply answer;
    mockServer.answer(request, [&answer](const Reply& reply) { answer = reply; });
    return answer;
}

QJsonObject object(const Reply& reply) {
    return QJsonDocument::fromJson(reply.body).object();
}

} // namespace

class MockServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void strangers() {
        MockServer mockServer({.controllable = true});
        for (const auto& [status, path, header] : std::initializer_list<std::tuple<int, QByteArray, Header>>{
                 {421, "/auth/v1/user", {"Host", "mock-server.example"}},
                 {401, "/auth/v1/signup", {"apikey", "eyJ"}},
                 // What a browser lets any web page send.
                 {415, "/control/replies", {"Content-Type", "text/plain"}}})
            QCOMPARE(ask(mockServer, "POST", path, Headers{header} + project, "[]").status, status);
        MockServer uncontrolled({});
        QCOMPARE(ask(uncontrolled, "GET", "/control/requests", project).status, 404);
    }

    void accounts() {
        MockServer mockServer({});
        const auto post = [&](const QByteArray& path, const QByteArray& body) {
            return ask(mockServer, "POST", "/auth/v1/" + path, project, body);
        };
        const auto user = [&](const QByteArray& token) {
            return ask(mockServer, "GET", "/auth/v1/user",
                       project + Headers{{"Authorization", "Bearer " + token}});
        };
        const QByteArray account = R"({"email":"e@x.org","password":"correct"})";
        const auto session = object(post("signup", account));
        const auto refresh = QByteArray(R"({"refresh_token":"%"})")
                                 .replace('%', session[u"refresh_token"_s].toString().toUtf8());
        const auto next = object(post("token?grant_type=refresh_token", refresh));
        const auto token = next[u"access_token"_s].toString().toLatin1();
        const auto signedIn = object(user(token));
        QCOMPARE(signedIn, next[u"user"_s].toObject());

        const std::tuple<Reply, int, QString> refused[]{
            {post("signup", account), 422, u"user_already_exists"_s},
            {post("signup", R"({"email":"f@x.org","password":"short"})"), 422, u"weak_password"_s},
            {post("signup", R"({"email":"nobody","password":"correct"})"), 400, u"validation_failed"_s},
            {post("token?grant_type=password", R"({"email":"e@x.org","password":"wrong"})"), 400,
             u"invalid_credentials"_s},
            {post("token?grant_type=refresh_token", refresh), 400, u"refresh_token_not_found"_s},
            {user(token + 'A'), 403, u"bad_jwt"_s}};
        for (const auto& [reply, status, code] : refused) {
            QCOMPARE(object(reply)[u"error_code"_s], code);
            QCOMPARE(object(reply)[u"code"_s], status);
            QCOMPARE(reply.status, status);
            QVERIFY(!object(reply)[u"msg"_s].toString().isEmpty());
        }
    }

    void accountsAreStoredWithoutTheirSecrets() {
        const QTemporaryDir temporary;
        const auto folder = temporary.filePath(u"deep/data"_s);
        const User user{.id = u"1"_s, .email = u"e@x.org"_s, .passwordHash = hashPassword("horse")};
        auto store = UserStore::open(folder);
        QVERIFY(store && store->put(user) && store->addRefreshToken("first token", {u"s"_s, user.id}));
        QCOMPARE(modeOf(folder), 0700U);
        QCOMPARE(modeOf(folder + u"/accounts.json"_s), 0600U);
        const auto content = contentOf(folder + u"/accounts.json"_s);
        QVERIFY(content.contains("e@x.org"));
        QVERIFY(!content.contains("horse") && !content.contains("first token"));
        store = UserStore::open(folder);
        QVERIFY(passwordMatches("horse", store->withEmail(user.email)->passwordHash));
        QVERIFY(!passwordMatches("wrong", store->withEmail(user.email)->passwordHash));
        QVERIFY(store->replaceRefreshToken("first token", "second token"));
        QVERIFY(!store->replaceRefreshToken("first token", "third token"));
    }
};

QTEST_GUILESS_MAIN(MockServerTest)
#include "tst_mockserver.moc"
