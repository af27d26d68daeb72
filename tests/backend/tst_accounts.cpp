#include "account/AuthStore.h"
#include "backend/BackendProcess.h"
#include "backend/RequestChecks.h"
#include "backend/UserStore.h"
#include "backend/Wav.h"
#include "base/HttpClient.h"
#include "base/MainQueue.h"
#include "support/FakeSecureSlot.h"
#include "support/Files.h"
#include "support/Tls.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTest>
#include <QUrlQuery>

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

QByteArray recording(const QByteArray& audio, const QString& language = u"German"_s) {
    return json({{u"audio"_s, QString::fromLatin1(audio.toBase64())}, {u"language"_s, language}});
}

/// Talks to one running stand-in, as any program could.
class Visitor {
public:
    explicit Visitor(const QStringList& arguments = {},
                     const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
        : process(arguments, environment) {}

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

/// The program's own account, at a stand-in.
struct Client {
    explicit Client(const QUrl& url) : store(slot, http, queue, {url, publicKey()}) { slot.finishReading(); }

    template<class T>
    static Result<T> outcome(const std::function<void(Completion<T>)>& start) {
        std::optional<Result<T>> outcome;
        start([&](Result<T> result) { outcome = std::move(result); });
        if (!QTest::qWaitFor([&] { return outcome.has_value(); }, 60000))
            return std::unexpected(Error{u"never completed"_s});
        return *outcome;
    }
    Result<bool> signUp() {
        return outcome<bool>([&](auto completion) { store.signUp(email, password, std::move(completion)); });
    }
    Result<void> signIn() {
        return outcome<void>([&](auto completion) { store.signIn(email, password, std::move(completion)); });
    }
    Result<QString> token() {
        return outcome<QString>([&](auto completion) { store.withValidAccessToken(std::move(completion)); });
    }
    /// The one that is kept.
    QString refreshToken() const {
        return AuthSession::fromJson(slot.content.value_or("")).value().refreshToken;
    }

    MainQueue queue;
    HttpClient http{queue};
    fake::Slot slot;
    AuthStore store;
};

/// The form of the page at `target`, as the browser would send it.
QByteArray filledForm(const QByteArray& page, const QByteArray& answer, const QByteArray& address) {
    static const QRegularExpression state(u"name=\"state\" value=\"([^\"]+)\""_s);
    return "state=" + state.match(QString::fromUtf8(page)).captured(1).toLatin1() + "&email=" + address +
           "&answer=" + answer;
}

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
        const auto translate = u"/functions/v1/translate"_s;
        const auto noKey = u"No API key found in request"_s;
        const auto wrongLogin = u"Invalid login credentials"_s;
        const auto badToken = u"Invalid or expired access token"_s;
        const auto token = m_session[u"access_token"_s].toString();
        auto plain = keyed();
        plain["Content-Type"] = "text/plain";
        const HeaderMap wrongKey{{"apikey", "eyJ"}, {"Content-Type", "application/json"}};
        auto elsewhere = keyed();
        elsewhere["Host"] = "stand-in.example";

        row("another name of this machine", "POST", passwordGrant, elsewhere, credentials(), 421,
            u"Ask for 127.0.0.1 or localhost"_s);
        row("sign-up without a key", "POST", signUp, {}, credentials(), 401, noKey);
        row("sign-up with another key", "POST", signUp, wrongKey, credentials(), 401, u"Invalid API key"_s);
        row("sign-up by GET", "GET", signUp, keyed(), {}, 405, u"Method Not Allowed"_s);
        row("sign-up in plain text", "POST", signUp, plain, credentials(), 415,
            u"Content-Type must be application/json"_s);
        row("sign-up with an array", "POST", signUp, keyed(), "[]", 400,
            u"Could not parse the request's body as a JSON object"_s);
        row("no address", "POST", signUp, keyed(), credentials(u"someone"_s), 400,
            u"Unable to validate email address: invalid format"_s);
        row("short password", "POST", signUp, keyed(), credentials(u"a@b"_s, u"12345"_s), 422,
            u"Password should be at least 6 characters."_s);
        row("long password", "POST", signUp, keyed(), credentials(u"a@b"_s, QString(73, u'x')), 422,
            u"Password cannot be longer than 72 characters"_s);
        row("taken, in capitals", "POST", signUp, keyed(), credentials(email.toUpper()), 422,
            u"User already registered"_s);
        row("wrong password", "POST", passwordGrant, keyed(), credentials(email, u"correct horsf"_s), 400,
            wrongLogin);
        row("no password", "POST", passwordGrant, keyed(), credentials(email, {}), 400, wrongLogin);
        row("password and more after a zero", "POST", passwordGrant, keyed(),
            credentials(email, password + QChar(0) + u"more"_s), 400, wrongLogin);
        row("nobody's address", "POST", passwordGrant, keyed(), credentials(u"x@example.org"_s), 400,
            wrongLogin);
        row("password without a key", "POST", passwordGrant, {}, credentials(), 401, noKey);
        row("another grant", "POST", u"/auth/v1/token?grant_type=device"_s, keyed(), credentials(), 400,
            u"Unsupported grant type"_s);
        row("unknown refresh token", "POST", refreshGrant, keyed(), R"({"refresh_token":"x"})", 400,
            u"Invalid Refresh Token: Refresh Token Not Found"_s);
        row("refresh token of another type", "POST", refreshGrant, keyed(), R"({"refresh_token":7})", 400,
            u"Invalid Refresh Token: Refresh Token Not Found"_s);
        row("user without a key", "GET", user, {{"Authorization", "Bearer " + token.toLatin1()}}, {}, 401,
            noKey);
        row("user without a token", "GET", user, keyed(), {}, 401, badToken);
        row("user with the public key as a token", "GET", user, keyed(QString::fromLatin1(publicKey())), {},
            401, badToken);
        row("user with a cut token", "GET", user, keyed(token.chopped(1)), {}, 401, badToken);
        row("translation without a key", "POST", translate, {{"Authorization", "Bearer " + token.toLatin1()}},
            recording(wav(1)), 401, noKey);
        row("another provider", "GET", QString(authorizePage).replace(u"google"_s, u"other"_s), {}, {}, 400,
            u"Unsupported provider: provider is not enabled"_s);
        row("another redirect", "GET", authorizePage + u".example.org"_s, {}, {}, 400,
            u"redirect_to is not this project's"_s);
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

    void nobodyForgesAToken() {
        const auto parts = m_session[u"access_token"_s].toString().toLatin1().split('.');
        const auto encoding = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;
        auto claims = QJsonDocument::fromJson(QByteArray::fromBase64(parts[1], encoding)).object();
        claims[u"exp"_s] = claims[u"exp"_s].toInteger() + 1;
        const auto unsignedHeader = QByteArray(R"({"alg":"none","typ":"JWT"})").toBase64(encoding);
        const auto later = json(claims).toBase64(encoding);
        for (const auto& forged :
             {parts[0] + '.' + later + '.' + parts[2], unsignedHeader + '.' + later + '.'})
            QCOMPARE(m_visitor->get(u"/auth/v1/user"_s, keyed(QString::fromLatin1(forged))).status, 401);
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
        QCOMPARE(visitor.post(u"/functions/v1/translate"_s, recording(wav(1)), headers).status, 401);
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

    void addressIsConfirmedByItsLink() {
        Visitor visitor({u"--confirm-email"_s});
        Client client(visitor.process.url());
        QCOMPARE(client.signUp(), Result<bool>(true));
        QVERIFY(!client.store.isSignedIn());
        QCOMPARE(client.signIn(), Result<void>(std::unexpected(Error{u"Email not confirmed"_s})));

        const auto mailbox = QString::fromUtf8(visitor.get(u"/mail"_s).body);
        auto link = QRegularExpression(u"href=\"([^\"]+)\""_s).match(mailbox).captured(1);
        link.replace(u"&amp;"_s, u"&"_s);
        QCOMPARE(visitor.get(link).status, 200);
        QCOMPARE(visitor.get(link).status, 400);
        QVERIFY(client.signIn());
        QCOMPARE(client.store.isSignedIn(), true);
    }

    void browserLeadsBack_data() {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QString>("signedIn");
        QTest::addColumn<QString>("error");
        QTest::newRow("continue") << "continue"_ba << "new@example.org"_ba << u"new@example.org"_s
                                  << QString();
        QTest::newRow("cancel") << "cancel"_ba << "new@example.org"_ba << QString()
                                << u"The user denied access"_s;
        QTest::newRow("no address") << "continue"_ba << "new"_ba << QString()
                                    << u"The account could not be used"_s;
    }

    void browserLeadsBack() {
        QFETCH(QByteArray, answer);
        QFETCH(QByteArray, address);
        QFETCH(QString, signedIn);
        QFETCH(QString, error);
        Client client(m_visitor->process.url());
        const auto target =
            client.store.googleSignInURL().toEncoded().sliced(m_visitor->process.url().toEncoded().size());
        const auto page = m_visitor->get(QString::fromLatin1(target));
        QCOMPARE(page.status, 200);
        const HeaderMap form{{"Content-Type", "application/x-www-form-urlencoded"}};
        const auto body = filledForm(page.body, answer, address);
        const auto back = m_visitor->post(u"/auth/v1/callback"_s, body, form);
        QCOMPARE(back.status, 303);
        client.store.handleCallback(back.location);
        QTRY_VERIFY_WITH_TIMEOUT(client.store.session() || client.store.lastOAuthError(), 60000);
        QCOMPARE(client.store.session() ? client.store.session()->email : QString(), signedIn);
        QCOMPARE(client.store.lastOAuthError().value_or(QString()), error);
        QCOMPARE(m_visitor->post(u"/auth/v1/callback"_s, body, form).status, 400);
    }

    void unconfirmedPasswordDoesNotOpenAProvidersAccount() {
        Visitor visitor({u"--confirm-email"_s});
        visitor.post(u"/auth/v1/signup"_s, credentials());
        const auto body = filledForm(visitor.get(authorizePage).body, "continue", email.toUtf8());
        const HeaderMap form{{"Content-Type", "application/x-www-form-urlencoded"}};
        QVERIFY(visitor.post(u"/auth/v1/callback"_s, body, form).location.contains("access_token="));
        QCOMPARE(visitor.post(passwordGrant, credentials()).status, 400);
    }

    void clientRefreshesWhatIsStale() {
        Visitor visitor({u"--token-lifetime"_s, u"30"_s});
        Client client(visitor.process.url());
        QCOMPARE(client.signUp(), Result<bool>(false));
        const auto first = client.refreshToken();
        const auto token = client.token();
        QVERIFY(token);
        QCOMPARE(visitor.get(u"/auth/v1/user"_s, keyed(*token)).status, 200);
        QVERIFY(client.refreshToken() != first);
        QVERIFY(client.token());

        // Somebody else has used the token: it is good no longer, and the session is over.
        visitor.post(refreshGrant, json({{u"refresh_token"_s, client.refreshToken()}}));
        QCOMPARE(client.token(),
                 Result<QString>(std::unexpected(Error{u"Your session expired — please sign in again."_s})));
        QVERIFY(!client.slot.content);
    }

    void translationSaysWhatArrived() {
        const auto headers = keyed(m_session[u"access_token"_s].toString());
        const auto answer = m_visitor->post(u"/functions/v1/translate"_s, recording(wav(1.5)), headers);
        QCOMPARE(answer.status, 200);
        QCOMPARE(answer.member(u"text"_s),
                 u"Offline stand-in: received 1.5 seconds of audio at -30 dBFS for German."_s);
    }

    void manifestAnnouncesTheRelease() {
        const QTemporaryDir folder;
        Visitor visitor({u"--data"_s, folder.path()});
        const auto target = u"/storage/v1/object/public/releases/version.json"_s;
        const auto own = visitor.get(target);
        QVERIFY(!own.member(u"version"_s).isEmpty());
        QVERIFY(QUrl(own.member(u"url"_s)).isValid());
        const QByteArray next = R"({"version":"99.1","url":"https://example.org/"})";
        QVERIFY(QDir(folder.path()).mkdir(u"releases"_s));
        QVERIFY(writeFile(folder.filePath(u"releases/version.json"_s), next));
        QCOMPARE(visitor.get(target).body, next);
    }

    void httpsOnlyWithATrustedCertificate_data() {
        QTest::addColumn<bool>("trusted");
        QTest::newRow("trusted") << true;
        QTest::newRow("unknown") << false;
    }

    void httpsOnlyWithATrustedCertificate() {
        QFETCH(bool, trusted);
        const Certificate certificate;
        Visitor visitor({u"--control"_s, u"--tls-certificate"_s, certificate.file(), u"--tls-key"_s,
                         certificate.keyFile()});
        QCOMPARE(visitor.process.url().scheme(), u"https"_s);
        {
            const Trust trust(trusted ? certificate.chain() : QList<QSslCertificate>());
            Client client(visitor.process.url());
            QCOMPARE(client.signUp().has_value(), trusted);
            QCOMPARE(client.store.isSignedIn(), trusted);
            client.store.handleCallback("tavrik://auth-callback#access_token=a&refresh_token=r");
            QTRY_VERIFY_WITH_TIMEOUT(
                client.store.session() && client.store.session()->email == u"Google account", 60000);
        }
        // Neither the password nor the token went to a server that could not prove itself.
        const Trust trust(certificate.chain());
        const auto requests = visitor.get(u"/control/requests"_s).object()[u"requests"_s].toArray();
        QCOMPARE(requests.size(), trusted ? 2 : 0);
    }

private:
    std::unique_ptr<Visitor> m_visitor;
    QJsonObject m_session;
};

QTEST_GUILESS_MAIN(AccountsTest)
#include "tst_accounts.moc"
