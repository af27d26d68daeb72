#include "account/AuthSession.h"

#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(std::optional<tavrik::AuthSession>)

namespace {

constexpr AuthSession::Time reference = std::chrono::sys_days{2001y / 1 / 1};

AuthSession session(double secondsSinceReference) {
    return {u"access"_s, u"refresh"_s, reference + AuthSession::Seconds(secondsSinceReference),
            u"a@example.org"_s};
}

} // namespace

class AuthSessionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void reading_data() {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<std::optional<AuthSession>>("expected");
        const auto row = [](const char* name, const QByteArray& json,
                            std::optional<AuthSession> expected = {}) {
            QTest::newRow(name) << json << expected;
        };
        row("whole",
            R"({"accessToken":"access","refreshToken":"refresh","expiresAt":800000000.5,"email":"a@example.org"})",
            session(800000000.5));
        row("zero is the reference date",
            R"({"accessToken":"access","refreshToken":"refresh","expiresAt":0,"email":"a@example.org"})",
            session(0));
        row("other order, unknown members",
            R"( {"email":"a@example.org","x":[1],"expiresAt":-1,"refreshToken":"refresh","accessToken":"access"} )",
            session(-1));
        row("empty texts", R"({"accessToken":"","refreshToken":"","expiresAt":0,"email":""})",
            AuthSession{{}, {}, reference, {}});
        row("no e-mail", R"({"accessToken":"a","refreshToken":"r","expiresAt":1})");
        row("no access token", R"({"refreshToken":"r","expiresAt":1,"email":"e"})");
        row("no refresh token", R"({"accessToken":"a","expiresAt":1,"email":"e"})");
        row("no expiry", R"({"accessToken":"a","refreshToken":"r","email":"e"})");
        row("access token a number", R"({"accessToken":1,"refreshToken":"r","expiresAt":1,"email":"e"})");
        row("refresh token null", R"({"accessToken":"a","refreshToken":null,"expiresAt":1,"email":"e"})");
        row("expiry a string", R"({"accessToken":"a","refreshToken":"r","expiresAt":"1","email":"e"})");
        row("expiry a boolean", R"({"accessToken":"a","refreshToken":"r","expiresAt":true,"email":"e"})");
        row("e-mail an object", R"({"accessToken":"a","refreshToken":"r","expiresAt":1,"email":{}})");
        row("other case", R"({"AccessToken":"a","refreshToken":"r","expiresAt":1,"email":"e"})");
        row("an array", R"([{"accessToken":"a","refreshToken":"r","expiresAt":1,"email":"e"}])");
        row("cut off", R"({"accessToken":"a","refreshToken":"r","expiresAt":1,"email":"e")");
        row("not JSON", "secret");
        row("not UTF-8", "{\"accessToken\":\"\xff\",\"refreshToken\":\"r\",\"expiresAt\":1,\"email\":\"e\"}");
        row("empty", "");
    }

    void reading() {
        QFETCH(QByteArray, json);
        QFETCH(std::optional<AuthSession>, expected);
        QVERIFY(AuthSession::fromJson(json) == expected);
    }

    void writtenIsReadAgain() {
        const AuthSession written{u"a\"\\\n"_s, u"ر"_s, std::chrono::system_clock::now() + 3600s,
                                  u"É@example.org"_s};
        const auto read = AuthSession::fromJson(written.toJson());
        QVERIFY(read);
        QCOMPARE(read->accessToken, written.accessToken);
        QCOMPARE(read->refreshToken, written.refreshToken);
        QCOMPARE(read->email, written.email);
        QVERIFY(std::chrono::abs(read->expiresAt - written.expiresAt) < 1ms);
    }

    void freshness_data() {
        QTest::addColumn<double>("left");
        QTest::addColumn<bool>("fresh");
        QTest::newRow("an hour") << 3600.0 << true;
        QTest::newRow("a little more than a minute") << 60.5 << true;
        QTest::newRow("a minute") << 60.0 << false;
        QTest::newRow("a little less than a minute") << 59.5 << false;
        QTest::newRow("over") << 0.0 << false;
        QTest::newRow("long over") << -8.0e8 << false;
        QTest::newRow("for ever") << 1e300 << true;
    }

    void freshness() {
        QFETCH(double, left);
        QTEST(session(left).isFresh(reference), "fresh");
    }
};

QTEST_GUILESS_MAIN(AuthSessionTest)
#include "tst_authsession.moc"
