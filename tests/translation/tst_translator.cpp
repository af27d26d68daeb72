#include "backend/LocalService.h"
#include "backend/Wav.h"
#include "base/MainQueue.h"
#include "storage/Settings.h"
#include "support/FakePlatform.h"
#include "support/SignedOutAccount.h"
#include "translation/Translator.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace tavrik;
using namespace tavrik::backend;
using namespace tavrik::test;
using namespace std::chrono_literals;
using Ending = ScriptedReply::Ending;

Q_DECLARE_METATYPE(tavrik::backend::ScriptedReply)

namespace {

/// Somebody who is signed in; answers at once or when told.
class SignedIn : public Account {
public:
    bool isSignedIn() const override { return true; }
    void withValidAccessToken(Completion<QString> completion) override {
        if (waits)
            waiting = std::move(completion);
        else
            completion(token);
    }

    Result<QString> token = QStringLiteral("session-token");
    bool waits = false;
    Completion<QString> waiting;
};

const QString openRouterPath = QStringLiteral("/api/v1/chat/completions");
const QString edgePath = QStringLiteral("/functions/v1/translate");

/// What the controller would see: the text, or the error after "! ".
QString shown(const Result<QString>& result) {
    return result ? *result : QStringLiteral("! ") + result.error().description;
}

QByteArray choices(const QByteArray& content) {
    return R"({"choices":[{"message":{"content":)" + content + "}}]}";
}

} // namespace

class TranslatorTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString m_file;
    MainQueue m_queue;
    SignedOutAccount m_nobody;
    SignedIn m_somebody;

    std::unique_ptr<fake::Preferences> m_preferences;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<LocalService> m_service;
    std::unique_ptr<HttpClient> m_http;

    Translator translator(Account& account) {
        return {account,
                *m_settings,
                *m_http,
                m_queue,
                Supabase{.url = m_service->url(), .anonKey = "anon"},
                m_service->url(openRouterPath)};
    }

    /// Translates the recording; nothing when the completion has not come, or came again.
    std::optional<Result<QString>> translate(Account& account) {
        auto translator = this->translator(account);
        QList<Result<QString>> results;
        translator.translate(m_file, [&](Result<QString> result) { results << std::move(result); });
        if (!QTest::qWaitFor([&] { return !results.isEmpty(); }, 30000) || results.size() != 1)
            return {};
        return results.first();
    }

    QJsonObject sentBody() const {
        return QJsonDocument::fromJson(m_service->requests().constLast().body).object();
    }

    static void bodyRow(const char* name, int status, const QByteArray& body, const QString& expected) {
        QTest::newRow(name) << ScriptedReply{.reply = {.status = status, .body = body}} << expected;
    }

    /// What both routes decide alike but for the words. `fallback` holds %1 for the status.
    static void addCommonRows(const QString& unparseable, const QString& fallback) {
        QTest::addColumn<ScriptedReply>("reply");
        QTest::addColumn<QString>("expected");
        const auto unusable = QStringLiteral("! ") + unparseable;
        const auto failed = [&](int status) {
            return QStringLiteral("! ") + fallback.arg(status);
        };
        const auto lost = QStringLiteral("! The server closed the connection before its reply was complete");

        bodyRow("no JSON", 200, "<html>", unusable);
        bodyRow("only white space", 200, " \n", unusable);
        bodyRow("cut JSON", 200, "{\"text\":\"a", unusable);
        bodyRow("something after the JSON", 200, R"({"text":"a"} x)", unusable);
        bodyRow("no UTF-8", 200, "{\"text\":\"\xff\"}", unusable);
        bodyRow("array", 200, R"([{"text":"a"}])", unusable);
        bodyRow("string", 200, R"("text")", unusable);
        bodyRow("null", 200, "null", unusable);
        bodyRow("nested beyond reason", 200, QByteArray(100000, '['), unusable);
        bodyRow("page of a proxy", 502, "<html>502</html>", unusable);
        QTest::newRow("200 MB") << ScriptedReply{.bodySize = 200000000} << unusable;
        QTest::newRow("without end") << ScriptedReply{.bodySize = ScriptedReply::endless, .chunked = true}
                                     << unusable;

        bodyRow("empty object", 200, "{}", failed(200));
        bodyRow("redirect", 302, "{}", failed(302));
        bodyRow("error as text", 429, R"({"error":"slow down"})", failed(429));
        bodyRow("error without message", 400, R"({"error":{"code":7}})", failed(400));
        bodyRow("error with a number for a message", 418, R"({"error":{"message":7}})", failed(418));
        bodyRow("error in an array", 500, R"({"error":[{"message":"m"}]})", failed(500));
        bodyRow("error with a message", 500, R"({"error":{"message":"No <b>credit</b>\n left "}})",
                QStringLiteral("! No <b>credit</b>\n left "));
        bodyRow("error with an empty message", 500, R"({"error":{"message":""}})", QStringLiteral("! "));

        QTest::newRow("reset") << ScriptedReply{.ending = Ending::Reset} << lost;
        QTest::newRow("truncated") << ScriptedReply{.reply = {.body = R"({"text":"a"}           )"},
                                                    .ending = Ending::Close,
                                                    .afterReplyBytes = 14}
                                   << lost;
    }

    void checkReply(Account& account) {
        QFETCH(ScriptedReply, reply);
        QFETCH(QString, expected);
        m_service->script({reply});
        const auto result = translate(account);
        QVERIFY(result);
        QCOMPARE(shown(*result), expected);
        QCOMPARE(m_service->requests().size(), 1);
    }

private Q_SLOTS:
    void initTestCase() {
        m_file = m_folder.filePath(QStringLiteral("take.wav"));
        QFile file(m_file);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(wav(1.1));
    }

    void init() {
        m_preferences = std::make_unique<fake::Preferences>();
        m_preferences->values[QStringLiteral("openrouter_api_key")] = QStringLiteral("sk-own");
        m_settings = std::make_unique<Settings>(*m_preferences);
        m_service = std::make_unique<LocalService>();
        m_http = std::make_unique<HttpClient>(m_queue);
    }

    void directReply_data() {
        addCommonRows(QStringLiteral("Unparseable response from OpenRouter"),
                      QStringLiteral("Unexpected response (HTTP %1)"));
        const auto failed = [](int status) {
            return QStringLiteral("! Unexpected response (HTTP %1)").arg(status);
        };
        bodyRow("no body", 200, "", QStringLiteral("! Empty response from OpenRouter"));
        bodyRow("no body, 500", 500, "", QStringLiteral("! Empty response from OpenRouter"));
        bodyRow("text", 200, choices(R"("Hello")"), QStringLiteral("Hello"));
        bodyRow("text of any status", 503, choices(R"("Hello")"), QStringLiteral("Hello"));
        bodyRow("trimmed", 200, choices(R"(" \n\t\u00a0\u2003Hi  there\u2028\u0085\r\n ")"),
                QStringLiteral("Hi  there"));
        bodyRow("trims to nothing", 200, choices(R"(" \n ")"), QString());
        bodyRow("empty", 200, choices(R"("")"), QString());
        bodyRow("escapes", 200, choices(R"("a\u0000b \ud83d\ude00 \u0022q\u0022")"),
                QStringLiteral("a") + QChar(0) + QStringLiteral("b \U0001F600 \"q\""));
        bodyRow("error before choices", 200,
                R"({"choices":[{"message":{"content":"Hello"}}],"error":{"message":"m"}})",
                QStringLiteral("! m"));
        bodyRow("unusable error, choices count", 200,
                R"({"choices":[{"message":{"content":"Hello"}}],"error":"e"})", QStringLiteral("Hello"));
        bodyRow("first choice only", 200,
                R"({"choices":[{"message":{"content":"a"}},{"message":{"content":"b"}}]})",
                QStringLiteral("a"));
        bodyRow("second choice no object", 200, R"({"choices":[{"message":{"content":"a"}},7]})",
                failed(200));
        bodyRow("second choice without message", 200, R"({"choices":[{"message":{"content":"a"}},{}]})",
                QStringLiteral("a"));
        bodyRow("first choice without message", 200, R"({"choices":[{},{"message":{"content":"b"}}]})",
                failed(200));
        bodyRow("no choices", 201, R"({"choices":[]})", failed(201));
        bodyRow("choices no array", 404, R"({"choices":{"0":{"message":{"content":"a"}}}})", failed(404));
        bodyRow("message no object", 200, R"({"choices":[{"message":"a"}]})", failed(200));
        bodyRow("content null", 200, choices("null"), failed(200));
        bodyRow("content in parts", 200, choices(R"([{"type":"text","text":"a"}])"), failed(200));
        bodyRow("text of the other route", 200, R"({"text":"a"})", failed(200));
        bodyRow("message of the other route", 400, R"({"message":"m","msg":"n"})", failed(400));
    }
    void directReply() { checkReply(m_nobody); }

    void backendReply_data() {
        addCommonRows(QStringLiteral("Unparseable response from the Tavrik server"),
                      QStringLiteral("Translation failed (HTTP %1)"));
        bodyRow("no body", 200, "", QStringLiteral("! Unparseable response from the Tavrik server"));
        bodyRow("text", 200, R"({"text":"Hello"})", QStringLiteral("Hello"));
        bodyRow("trimmed text of any status", 500, R"({"text":"  Hello\n"})", QStringLiteral("Hello"));
        bodyRow("text before error", 200, R"({"error":{"message":"m"},"text":"Hello"})",
                QStringLiteral("Hello"));
        bodyRow("trims to nothing", 200, R"({"text":" \n "})", QString());
        bodyRow("text no string", 200, R"({"text":7,"msg":"n"})", QStringLiteral("! n"));
        bodyRow("error, msg and message", 400, R"({"message":"o","msg":"n","error":{"message":"m"}})",
                QStringLiteral("! m"));
        bodyRow("msg and message", 400, R"({"message":"o","msg":"n"})", QStringLiteral("! n"));
        bodyRow("message", 401, R"({"message":"o"})", QStringLiteral("! o"));
        bodyRow("error unusable, message", 401, R"({"error":"e","msg":7,"message":"o"})",
                QStringLiteral("! o"));
        bodyRow("choices of the other route", 200, choices(R"("a")"),
                QStringLiteral("! Translation failed (HTTP 200)"));
    }
    void backendReply() { checkReply(m_somebody); }

    void directRequest_data() {
        QTest::addColumn<QVariant>("language");
        QTest::addColumn<QVariant>("model");
        QTest::addColumn<QString>("sentLanguage");
        QTest::addColumn<QString>("sentModel");
        const auto flash = QStringLiteral("google/gemini-2.5-flash");
        const auto row = [&](const char* name, const QString& text) {
            QTest::newRow(name) << QVariant(text) << QVariant(text) << text << text;
        };
        QTest::newRow("defaults") << QVariant() << QVariant() << QStringLiteral("English") << flash;
        QTest::newRow("wrong types") << QVariant(7) << QVariant(true) << QStringLiteral("English") << flash;
        row("empty", QString());
        row("plain", QStringLiteral("German"));
        row("quotes and backslashes", QStringLiteral("a\"},{\"b\\\"\\u0041/"));
        row("control characters", QStringLiteral("a\n\r\t\x01\x1f\x7f") + QChar(0) + QStringLiteral("b"));
        row("other scripts", QStringLiteral("فارسی 日本 \U0001F600 \u2028\ufeff"));
        row("percent", QStringLiteral("%1 %2"));
        const QString lone = QStringLiteral("a") + QChar(0xd800) + QStringLiteral("b");
        const QString replaced = QStringLiteral("a?b");
        QTest::newRow("lone surrogate") << QVariant(lone) << QVariant(lone) << replaced << replaced;
    }
    void directRequest() {
        QFETCH(QVariant, language);
        QFETCH(QVariant, model);
        QFETCH(QString, sentLanguage);
        QFETCH(QString, sentModel);
        m_preferences->values[QStringLiteral("target_language")] = language;
        m_preferences->values[QStringLiteral("openrouter_model")] = model;
        QVERIFY(translate(m_nobody));

        const auto& request = m_service->requests().constLast();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.path, openRouterPath.toLatin1());
        QCOMPARE(request.query, QByteArray());
        QCOMPARE(request.header("Authorization"), "Bearer sk-own");
        QCOMPARE(request.header("Content-Type"), "application/json");
        for (const auto* name : {"apikey", "Referer", "HTTP-Referer", "X-Title", "Cookie", "Expect"})
            QVERIFY2(request.header(name).isEmpty(), name);

        const auto prompt =
            QStringLiteral("You will receive an audio clip of someone speaking, mostly in Persian "
                           "(Farsi), possibly mixing in some English words or technical terms. "
                           "Translate everything they said into fluent, natural, native-sounding ") +
            sentLanguage +
            QStringLiteral(". Preserve the meaning, tone, and level of formality. Output ONLY the "
                           "final ") +
            sentLanguage + QStringLiteral(" text \u2014 no quotes, no preamble, no explanations.");
        const auto audio = QString::fromLatin1(wav(1.1).toBase64());
        const QJsonObject expected{
            {QStringLiteral("model"), sentModel},
            {QStringLiteral("temperature"), 0.2},
            {QStringLiteral("messages"),
             QJsonArray{QJsonObject{
                 {QStringLiteral("role"), QStringLiteral("user")},
                 {QStringLiteral("content"),
                  QJsonArray{QJsonObject{{QStringLiteral("type"), QStringLiteral("text")},
                                         {QStringLiteral("text"), prompt}},
                             QJsonObject{{QStringLiteral("type"), QStringLiteral("input_audio")},
                                         {QStringLiteral("input_audio"),
                                          QJsonObject{{QStringLiteral("format"), QStringLiteral("wav")},
                                                      {QStringLiteral("data"), audio}}}}}}}}}};
        QCOMPARE(sentBody(), expected);
    }

    void backendRequest() {
        QVERIFY(translate(m_somebody));
        const auto& request = m_service->requests().constLast();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.path, edgePath.toLatin1());
        QCOMPARE(request.header("Authorization"), "Bearer session-token");
        QCOMPARE(request.header("apikey"), "anon");
        QCOMPARE(request.header("Content-Type"), "application/json");
        const QJsonObject expected{{QStringLiteral("audio"), QString::fromLatin1(wav(1.1).toBase64())},
                                   {QStringLiteral("language"), QStringLiteral("English")}};
        QCOMPARE(sentBody(), expected);
    }

    void failsAtOnce_data() {
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<QVariant>("key");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("expected");
        const auto signIn = QStringLiteral("Sign in first: menubar icon \u2192 Open Tavrik.");
        QTest::newRow("no key") << false << QVariant() << m_file << signIn;
        QTest::newRow("empty key") << false << QVariant(QString()) << m_file << signIn;
        QTest::newRow("key of the wrong type") << false << QVariant(7) << m_file << signIn;
        QTest::newRow("no file, no key")
            << false << QVariant() << m_folder.filePath(QStringLiteral("none.wav"))
            << QStringLiteral("No such file or directory");
        QTest::newRow("no file, signed in")
            << true << QVariant() << m_folder.filePath(QStringLiteral("none.wav"))
            << QStringLiteral("No such file or directory");
        QTest::newRow("a folder") << false << QVariant(QStringLiteral("k")) << m_folder.path()
                                  << QStringLiteral("is a directory");
    }
    void failsAtOnce() {
        QFETCH(bool, signedIn);
        QFETCH(QVariant, key);
        QFETCH(QString, file);
        QFETCH(QString, expected);
        m_preferences->values[QStringLiteral("openrouter_api_key")] = key;
        Account& account = signedIn ? static_cast<Account&>(m_somebody) : m_nobody;
        auto translator = this->translator(account);
        QStringList results;
        translator.translate(file, [&](const Result<QString>& result) { results << shown(result); });
        QCOMPARE(results.size(), 1);
        QVERIFY2(results.first().startsWith(u"! ") && results.first().endsWith(expected),
                 qPrintable(results.first()));
        QCoreApplication::processEvents();
        QCOMPARE(m_service->connectionCount(), 0);
    }

    void tokenFailureComesThroughTheQueue() {
        SignedIn account;
        account.token = std::unexpected(Error{QStringLiteral("Session expired.")});
        auto translator = this->translator(account);
        QStringList results;
        translator.translate(m_file, [&](const Result<QString>& result) { results << shown(result); });
        QVERIFY(results.isEmpty());
        QTRY_COMPARE(results, QStringList{QStringLiteral("! Session expired.")});
        QCOMPARE(m_service->connectionCount(), 0);
    }

    void tokenThatComesLater() {
        SignedIn account;
        account.waits = true;
        auto translator = std::make_unique<Translator>(account, *m_settings, *m_http, m_queue,
                                                       Supabase{.url = m_service->url(), .anonKey = "anon"},
                                                       m_service->url(openRouterPath));
        QStringList results;
        const auto collect = [&](const Result<QString>& result) {
            results << shown(result);
        };
        translator->translate(m_file, collect);
        m_service->script({{.reply = {.body = R"({"text":"late"})"}}});
        account.waiting(QStringLiteral("t"));
        QTRY_COMPARE(results, QStringList{QStringLiteral("late")});

        // Nobody is left to ask.
        translator->translate(m_file, collect);
        translator.reset();
        account.waiting(QStringLiteral("t"));
        QCoreApplication::processEvents();
        QCOMPARE(m_service->requests().size(), 1);
    }

    void requestsRunSideBySide() {
        m_service->script({{.reply = {.body = choices(R"("slow")")}, .delay = 200ms},
                           {.reply = {.body = choices(R"("fast")")}}});
        auto translator = this->translator(m_nobody);
        QStringList results;
        for (int i = 0; i < 2; ++i)
            translator.translate(m_file, [&](const Result<QString>& result) { results << shown(result); });
        QTRY_COMPARE(results, (QStringList{QStringLiteral("fast"), QStringLiteral("slow")}));
    }

    void preparesTheConnectionOfItsRoute_data() {
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("connections");
        QTest::newRow("direct") << false << QStringLiteral("k") << 1;
        QTest::newRow("backend") << true << QStringLiteral("k") << 1;
        QTest::newRow("neither") << false << QString() << 0;
    }
    void preparesTheConnectionOfItsRoute() {
        QFETCH(bool, signedIn);
        QFETCH(QString, key);
        QFETCH(int, connections);
        m_preferences->values[QStringLiteral("openrouter_api_key")] = key;
        Account& account = signedIn ? static_cast<Account&>(m_somebody) : m_nobody;
        LocalService openRouter;
        Translator translator(account, *m_settings, *m_http, m_queue,
                              {.url = m_service->url(), .anonKey = "anon"}, openRouter.url(openRouterPath));
        translator.prepare();
        const auto& asked = signedIn ? *m_service : openRouter;
        QTRY_COMPARE(asked.connectionCount(), connections);
        bool done = false;
        translator.translate(m_file, [&](const auto&) { done = true; });
        QTRY_VERIFY(done);
        QCOMPARE(asked.connectionCount(), connections);
        QCOMPARE(m_service->connectionCount() + openRouter.connectionCount(), connections);
    }

    /// The same words that a user without network reads.
    void refusedConnection() {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        const QUrl url(QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort()));
        closed.close();
        Translator translator(m_nobody, *m_settings, *m_http, m_queue, {}, url);
        QStringList results;
        translator.translate(m_file, [&](const Result<QString>& result) { results << shown(result); });
        QVERIFY(results.isEmpty());
        QTRY_COMPARE(results, QStringList{QStringLiteral("! Connection refused")});
    }

    /// The stand-in's own answer, end to end.
    void standInAnswers() {
        m_preferences->values[QStringLiteral("target_language")] = QStringLiteral("Italian");
        const auto result = translate(m_nobody);
        QVERIFY(result);
        QCOMPARE(shown(*result),
                 QStringLiteral("Offline stand-in: received 1.1 seconds of audio at -30 dBFS for Italian."));
    }
};

QTEST_GUILESS_MAIN(TranslatorTest)
#include "tst_translator.moc"
