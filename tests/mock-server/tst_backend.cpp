#include "mock-server/MockServer.h"
#include "mock-server/Passwords.h"
#include "mock-server/RequestChecks.h"
#include "mock-server/Wav.h"
#include "mock-server/WavFile.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

using namespace tavrik::backend;
using namespace tavrik::test;
using namespace Qt::StringLiterals;

namespace {

const User someone{
    .id = u"1"_s, .email = u"someone@example.org"_s, .passwordHash = hashPassword("correct horse")};

QByteArray chatBody(const QByteArray& data, const QByteArray& format = "wav") {
    return R"({"model":"m","temperature":0.2,"messages":[{"role":"user","content":[{"type":"text","text":"p"},)"
           R"({"type":"input_audio","input_audio":{"data":")" +
           data + R"(","format":")" + format + R"("}}]}]})";
}

} // namespace

class BackendTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesWhatTheServicesWould() {
        const QByteArray path = "/api/v1/chat/completions";
        const auto good = chatBody(wav(0.1).toBase64());
        const std::pair<QByteArray, QByteArray> host{"Host", "127.0.0.1:1"};
        const std::pair<QByteArray, QByteArray> key{"Authorization", "Bearer k"};
        const std::pair<QByteArray, QByteArray> json{"Content-Type", "application/json; charset=utf-8"};
        const std::tuple<int, QByteArray, Headers, QByteArray> rows[]{
            {200, path, {host, key, json}, good},
            {401, path, {host, json}, good},
            {415, path, {host, key}, good},
            {400, path, {host, key, json}, "x"},
            {400, path, {host, key, json}, QByteArray(good).replace(R"("model":"m")", R"("model":"")")},
            {400, path, {host, key, json}, chatBody(wav(0.1).toBase64(), "mp3")},
            {400, path, {host, key, json}, chatBody("!!!!")},
            {400, path, {host, key, json}, chatBody(QByteArray("hello").toBase64())},
            {421, path, {{"Host", "mock-server.example"}, key, json}, good},
            {404, "/control/requests", {host}, ""},
            {401, "/auth/v1/signup", {host, json}, "{}"},
            {401, "/auth/v1/signup", {host, json, {"apikey", "eyJ"}}, "{}"},
            {400, "/auth/v1/signup", {host, json, {"apikey", publicKey()}}, "{}"}};
        MockServer standIn({});
        for (const auto& [expected, target, headers, body] : rows) {
            Request request;
            request.method = "POST";
            request.path = target;
            request.headers = headers;
            request.body = body;
            int status = 0;
            standIn.answer(request, [&status](const Reply& reply) { status = reply.status; });
            QCOMPARE(status, expected);
        }
    }

    void measuresOnlyValidWav_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<double>("duration");
        const auto good = wav(0.5);
        const auto changed = [&](qsizetype position, const QByteArray& bytes) {
            return QByteArray(good).replace(position, bytes.size(), bytes);
        };
        QTest::newRow("good") << good << 0.5;
        QTest::newRow("odd chunk before the samples")
            << QByteArray(good).insert(36, QByteArray("LIST\x03\0\0\0abc\0", 12)) << 0.5;
        QTest::newRow("cut short") << good.chopped(1) << -1.0;
        QTest::newRow("length never filled in") << changed(40, "\xff\xff\xff\xff") << -1.0;
        QTest::newRow("float") << changed(20, "\x03") << -1.0;
        QTest::newRow("samples before format")
            << good.first(12) + good.sliced(36) + good.sliced(12, 24) << -1.0;
    }
    void measuresOnlyValidWav() {
        QFETCH(QByteArray, file);
        QFETCH(double, duration);
        const auto sound = measureWav(file);
        QCOMPARE(sound ? sound->duration : -1, duration);
    }

    void accountsAreKeptWithoutTheirSecrets() {
        const QTemporaryDir temporary;
        const auto folder = temporary.filePath(u"deep/data"_s);
        {
            auto store = UserStore::open(folder);
            QVERIFY(store && store->put(someone) && store->addRefreshToken("first token", someone.id));
        }
        QCOMPARE(modeOf(folder), 0700U);
        QCOMPARE(modeOf(folder + u"/accounts.json"_s), 0600U);
        const auto content = contentOf(folder + u"/accounts.json"_s);
        QVERIFY(content.contains(someone.email.toUtf8()));
        QVERIFY(!content.contains("correct horse") && !content.contains("first token"));

        auto store = UserStore::open(folder);
        QVERIFY(store && store->withEmail(someone.email));
        QVERIFY(passwordMatches("correct horse", store->withEmail(someone.email)->passwordHash));
        QVERIFY(!passwordMatches("wrong horse", store->withEmail(someone.email)->passwordHash));
        QVERIFY(store->replaceRefreshToken("first token", "second token"));
        QVERIFY(!store->replaceRefreshToken("first token", "third token"));
    }

    void scriptIsReadStrictly() {
        QVERIFY(parseScript(
            R"([{"path":"/x","status":500,"headers":{"A":"b"},"body":{"a":1},"chunked":true,)"
            R"("closeDelimited":false,"delayMs":1,"byteIntervalMs":2,"ending":"reset",)"
            R"("afterRequestBytes":3,"afterReplyBytes":4},{"bodyBase64":"AAE="},{"bodySize":"endless"}])"));
        for (const auto* const script : {"{}", "x", R"([{"delayMS":1}])", R"([{"ending":"explode"}])",
                                         R"([{"bodySize":-1}])", R"([{"status":"500"}])"})
            QVERIFY2(!parseScript(script), script);
    }
};

QTEST_GUILESS_MAIN(BackendTest)
#include "tst_backend.moc"
