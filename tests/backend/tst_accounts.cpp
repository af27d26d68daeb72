#include "backend/BackendProcess.h"
#include "backend/RequestChecks.h"
#include "backend/UserStore.h"
#include "support/Files.h"
#include "support/Tls.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTest>

using namespace tavrik;
using namespace tavrik::test;
using namespace Qt::StringLiterals;
using backend::publicKey;

namespace {

const auto email = u"someone@example.org"_s;
const auto password = u"correct horse"_s;
const auto passwordGrant = u"/auth/v1/token?grant_type=password"_s;
const auto refreshGrant = u"/auth/v1/token?grant_type=refresh_token"_s;

struct Answer {
    int status = 0;
    QByteArray body;
    QByteArray location;

    QJsonObject object() const { return QJsonDocument::fromJson(body).object(); }
    QString member(const QString& name) const { return object()[name].toString(); }
    /// What went wrong, wherever a service puts it.
    QString message() const {
        const auto reply = object();
        for (const auto& text : {reply[u"error_description"_s], reply[u"msg"_s],
                                 reply[u"error"_s][u"message"_s], reply[u"message"_s]}) {
            if (text.isString())
                return text.toString();
        }
        return {};
    }
};

using HeaderMap = QMap<QByteArray, QByteArray>;

HeaderMap keyed(const QString& token = {}) {
    HeaderMap headers{{"apikey", publicKey()}, {"Content-Type", "application/json"}};
    if (!token.isEmpty())
        headers["Authorization"] = "Bearer " + token.toLatin1();
    return headers;
}

QByteArray json(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray credentials(const QString& address = email, const QString& secret = password) {
    return json({{u"email"_s, address}, {u"password"_s, secret}});
}

/// Talks to one running stand-in, as any program could.
class Visitor {
public:
    explicit Visitor(const QStringList& arguments = {}) : process(arguments) {}

    Answer get(const QString& target, const HeaderMap& headers = {}) {
        return ask("GET", target, headers, {});
    }
    Answer post(const QString& target, const QByteArray& body, const HeaderMap& headers = keyed()) {
        return ask("POST", target, headers, body);
    }

    Answer ask(const QByteArray& method, const QString& target, const HeaderMap& headers,
               const QByteArray& body) {
        QNetworkRequest request(QUrl(QString::fromUtf8(process.line().trimmed()) + target));
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
        for (const auto& [name, value] : headers.asKeyValueRange())
            request.setRawHeader(name, value);
        const std::unique_ptr<QNetworkReply> reply(m_manager.sendCustomRequest(request, method, body));
        if (!QTest::qWaitFor([&] { return reply->isFinished(); }, 60000))
            return {};
        return {reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply->readAll(),
                reply->rawHeader("Location")};
    }

    BackendProcess process;

private:
    QNetworkAccessManager m_manager;
};

const auto authorizePage = u"/auth/v1/authorize?provider=google&redirect_to=tavrik://auth-callback"_s;

} // namespace

class AccountsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        m_visitor = std::make_unique<Visitor>();
        m_session = m_visitor->post(u"/auth/v1/signup"_s, credentials()).object();
        QVERIFY(!m_session.isEmpty());
    }

    void refusals_data() {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QString>("target");
        QTest::addColumn<HeaderMap>("headers");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, const QByteArray& method, const QString& target,
                            const HeaderMap& headers, const QByteArray& body, int status,
                            const QString& message) {
            QTest::newRow(name) << method << target << headers << body << status << message;
        };
        const auto signUp = u"/auth/v1/signup"_s;
        const auto user = u"/auth/v1/user"_s;
        const auto noKey = u"No API key found in request"_s;
        const auto wrongLogin = u"Invalid login credentials"_s;
        const auto token = m_session[u"access_token"_s].toString();
        const HeaderMap wrongKey{{"apikey", "eyJ"}, {"Content-Type", "application/json"}};
        auto elsewhere = keyed();
        elsewhere["Host"] = "stand-in.example";

        row("another name of this machine", "POST", passwordGrant, elsewhere, credentials(), 421,
            u"Ask for 127.0.0.1 or localhost"_s);
        row("no key", "POST", signUp, {}, credentials(), 401, noKey);
        row("another key", "POST", signUp, wrongKey, credentials(), 401, u"Invalid API key"_s);
        row("sign-up by GET", "GET", signUp, keyed(), {}, 405, u"Method Not Allowed"_s);
        row("no address", "POST", signUp, keyed(), credentials(u"someone"_s), 400,
            u"Unable to validate email address: invalid format"_s);
        row("short password", "POST", signUp, keyed(), credentials(u"a@b"_s, u"12345"_s), 422,
            u"Password should be at least 6 characters."_s);
        row("taken, in capitals", "POST", signUp, keyed(), credentials(email.toUpper()), 422,
            u"User already registered"_s);
        row("wrong password", "POST", passwordGrant, keyed(), credentials(email, u"correct horsf"_s), 400,
            wrongLogin);
        row("password and more after a zero", "POST", passwordGrant, keyed(),
            credentials(email, password + QChar(0) + u"more"_s), 400, wrongLogin);
        row("nobody's address", "POST", passwordGrant, keyed(), credentials(u"x@example.org"_s), 400,
            wrongLogin);
        row("unknown refresh token", "POST", refreshGrant, keyed(), R"({"refresh_token":"x"})", 400,
            u"Invalid Refresh Token: Refresh Token Not Found"_s);
        row("user without a key", "GET", user, {{"Authorization", "Bearer " + token.toLatin1()}}, {}, 401,
            noKey);
        row("another redirect", "GET", authorizePage + u".example.org"_s, {}, {}, 400,
            u"redirect_to is not this project's"_s);

        // Nobody forges a token.
        const auto parts = token.toLatin1().split('.');
        const auto encoding = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;
        auto claims = QJsonDocument::fromJson(QByteArray::fromBase64(parts[1], encoding)).object();
        claims[u"exp"_s] = claims[u"exp"_s].toInteger() + 1;
        const auto later = json(claims).toBase64(encoding);
        const auto unsignedHeader = QByteArray(R"({"alg":"none","typ":"JWT"})").toBase64(encoding);
        const std::pair<const char*, QByteArray> tokens[]{
            {"no token", {}},
            {"the public key as a token", publicKey()},
            {"later token", parts[0] + '.' + later + '.' + parts[2]},
            {"unsigned token", unsignedHeader + '.' + later + '.'}};
        for (const auto& [name, forged] : tokens)
            row(name, "GET", user, keyed(QString::fromLatin1(forged)), {}, 401,
                u"Invalid or expired access token"_s);
    }

    void refusals() {
        QFETCH(QByteArray, method);
        QFETCH(QString, target);
        QFETCH(HeaderMap, headers);
        QFETCH(QByteArray, body);
        QFETCH(QString, message);
        const auto answer = m_visitor->ask(method, target, headers, body);
        QTEST(answer.status, "status");
        QCOMPARE(answer.message(), message);
    }

    void passwordOpensTheAccount() {
        const auto answer = m_visitor->post(passwordGrant, credentials(email.toUpper()));
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.member(u"token_type"_s), u"bearer"_s);
        QCOMPARE(answer.object()[u"expires_in"_s], QJsonValue(3600));
        QCOMPARE(answer.object()[u"user"_s][u"email"_s], QJsonValue(email));
        const auto user = m_visitor->get(u"/auth/v1/user"_s, keyed(answer.member(u"access_token"_s)));
        QCOMPARE(user.status, 200);
        QCOMPARE(user.object(), answer.object()[u"user"_s].toObject());
    }

    void refreshTokenIsGoodOnce() {
        const auto first = m_visitor->post(passwordGrant, credentials()).member(u"refresh_token"_s);
        const auto body = json({{u"refresh_token"_s, first}});
        const auto second = m_visitor->post(refreshGrant, body);
        QCOMPARE(second.status, 200);
        QCOMPARE(second.object()[u"user"_s][u"email"_s], QJsonValue(email));
        QCOMPARE(m_visitor->post(refreshGrant, body).status, 400);
        const auto next = json({{u"refresh_token"_s, second.member(u"refresh_token"_s)}});
        QCOMPARE(m_visitor->post(refreshGrant, next).status, 200);
    }

    void accessTokenExpires() {
        Visitor visitor({u"--token-lifetime"_s, u"1"_s});
        const auto session = visitor.post(u"/auth/v1/signup"_s, credentials());
        const auto headers = keyed(session.member(u"access_token"_s));
        QTRY_COMPARE_WITH_TIMEOUT(visitor.get(u"/auth/v1/user"_s, headers).status, 401, 60000);
        const auto next =
            visitor.post(refreshGrant, json({{u"refresh_token"_s, session.member(u"refresh_token"_s)}}));
        QCOMPARE(next.status, 200);
    }

    void accountsOutliveARestart() {
        const QTemporaryDir folder;
        const auto data = folder.filePath(u"deep/data"_s);
        QJsonObject session;
        {
            Visitor visitor({u"--data"_s, data});
            session = visitor.post(u"/auth/v1/signup"_s, credentials()).object();
        }
        const auto file = data + u"/accounts.json"_s;
        QCOMPARE(modeOf(data), 0700U);
        QCOMPARE(modeOf(file), 0600U);
        const auto content = contentOf(file);
        const auto refreshToken = session[u"refresh_token"_s].toString();
        QVERIFY(content.contains(email.toUtf8()));
        for (const auto& secret : {password, refreshToken, session[u"access_token"_s].toString()})
            QVERIFY(!content.contains(secret.toUtf8()));

        Visitor again({u"--data"_s, data});
        QCOMPARE(again.get(u"/auth/v1/user"_s, keyed(session[u"access_token"_s].toString())).status, 200);
        QCOMPARE(again.post(passwordGrant, credentials()).status, 200);
        QCOMPARE(again.post(passwordGrant, credentials(email, u"wrong horse"_s)).status, 400);
        QCOMPARE(again.post(refreshGrant, json({{u"refresh_token"_s, refreshToken}})).status, 200);
    }

    void damagedAccountsAreLeftAlone() {
        const QTemporaryDir folder;
        const auto file = folder.filePath(u"accounts.json"_s);
        QVERIFY(writeFile(file, R"({"users":[)"));
        QVERIFY(!backend::UserStore::open(folder.path()));
        QCOMPARE(contentOf(file), R"({"users":[)"_ba);
    }

    void unconfirmedPasswordDoesNotOpenAProvidersAccount() {
        Visitor visitor({u"--confirm-email"_s});
        visitor.post(u"/auth/v1/signup"_s, credentials());
        static const QRegularExpression state(u"name=\"state\" value=\"([^\"]+)\""_s);
        const auto page = QString::fromUtf8(visitor.get(authorizePage).body);
        const auto body = "state=" + state.match(page).captured(1).toLatin1() + "&email=" + email.toUtf8() +
                          "&answer=continue";
        const HeaderMap form{{"Content-Type", "application/x-www-form-urlencoded"}};
        QVERIFY(visitor.post(u"/auth/v1/callback"_s, body, form).location.contains("access_token="));
        QCOMPARE(visitor.post(passwordGrant, credentials()).status, 400);
        QCOMPARE(visitor.post(u"/auth/v1/callback"_s, body, form).status, 400);
    }

    void manifestAnnouncesItsOwnRelease() {
        const auto own = m_visitor->get(u"/storage/v1/object/public/releases/version.json"_s);
        QVERIFY(!own.member(u"version"_s).isEmpty());
        QVERIFY(QUrl(own.member(u"url"_s)).isValid());
    }

    void servesHttps() {
        const Certificate certificate;
        const Trust trust(certificate.chain());
        Visitor visitor({u"--tls-certificate"_s, certificate.file(), u"--tls-key"_s, certificate.keyFile()});
        QCOMPARE(visitor.process.url().scheme(), u"https"_s);
        QCOMPARE(visitor.post(u"/auth/v1/signup"_s, credentials()).status, 200);
    }

private:
    std::unique_ptr<Visitor> m_visitor;
    QJsonObject m_session;
};

QTEST_GUILESS_MAIN(AccountsTest)
#include "tst_accounts.moc"
