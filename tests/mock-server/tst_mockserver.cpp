#include "mock-server/MockServer.h"
#include "mock-server/Secrets.h"
#include "mock-server/TestWav.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

using namespace tavrik::mock;
using namespace tavrik::test;
using namespace Qt::StringLiterals;

namespace {

QByteArray chatBody() {
    return R"({"model":"m","temperature":0.2,"messages":[{"role":"user","content":[{"type":"text","text":"p"},)"
           R"({"type":"input_audio","input_audio":{"format":"wav","data":")" +
           wav(0.1).toBase64() + R"("}}]}]})";
}

} // namespace

class MockServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesWhatTheServicesWould() {
        const QByteArray chat = "/api/v1/chat/completions";
        const auto body = chatBody();
        const std::pair<QByteArray, QByteArray> host{"Host", "127.0.0.1:1"};
        const std::pair<QByteArray, QByteArray> key{"Authorization", "Bearer k"};
        const std::pair<QByteArray, QByteArray> json{"Content-Type", "application/json; charset=utf-8"};
        const std::tuple<int, QByteArray, Headers, QByteArray> rows[]{
            {200, chat, {host, key, json}, body},
            {401, chat, {host, json}, body},
            {415, chat, {host, key}, body},
            {400, chat, {host, key, json}, QByteArray(body).replace("wav", "mp3")},
            {400, chat, {host, key, json}, QByteArray(body).replace("UklG", "!!!!")},
            {421, chat, {{"Host", "mock-server.example"}, key, json}, body},
            {404, "/control/requests", {host}, ""},
            {401, "/auth/v1/signup", {host, json, {"apikey", "eyJ"}}, "{}"}};
        MockServer mockServer({});
        for (const auto& [expected, path, headers, content] : rows) {
            Request request;
            request.method = "POST";
            request.path = path;
            request.headers = headers;
            request.body = content;
            int status = 0;
            mockServer.answer(request, [&status](const Reply& reply) { status = reply.status; });
            QCOMPARE(status, expected);
        }
    }

    void accountsAreStoredWithoutTheirSecrets() {
        const QTemporaryDir temporary;
        const auto folder = temporary.filePath(u"deep/data"_s);
        const User user{.id = u"1"_s, .email = u"e@x.org"_s, .passwordHash = hashPassword("horse")};
        auto store = UserStore::open(folder);
        QVERIFY(store && store->put(user) && store->addRefreshToken("first token", user.id));
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
