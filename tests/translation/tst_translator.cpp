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
using namespace Qt::StringLiterals;
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

    Result<QString> token = u"session-token"_s;
    bool waits = false;
    Completion<QString> waiting;
};

const QString openRouterPath = u"/api/v1/chat/completions"_s;
const QString edgePath = u"/functions/v1/translate"_s;

/// What the controller would see: the text, or the error after "! ".
QString shown(const Result<QString>& result) {
    return result ? *result : u"! "_s + result.error().description;
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
        m_file = m_folder.filePath(u"take.wav"_s);
        QFile file(m_file);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(wav(1.1));
    }

    void init() {
        m_preferences = std::make_unique<fake::Preferences>();
        m_preferences->values[u"openrouter_api_key"_s] = u"sk-own"_s;
        m_settings = std::make_unique<Settings>(*m_preferences);
        m_service = std::make_unique<LocalService>();
        m_http = std::make_unique<HttpClient>(m_queue);
    }

    void directReply_data() {
        QTest::addColumn<ScriptedReply>("reply");
        QTest::addColumn<QString>("expected");
        const auto unusable = u"! Unparseable response from OpenRouter"_s;
        const auto failed = [](int status) {
            return u"! Unexpected response (HTTP %1)"_s.arg(status);
        };
        bodyRow("no body", 200, "", u"! Empty response from OpenRouter"_s);
        bodyRow("no body, 500", 500, "", u"! Empty response from OpenRouter"_s);
        bodyRow("no JSON", 200, "<html>", unusable);
        bodyRow("page of a proxy", 502, "<html>502</html>", unusable);
        bodyRow("something after the JSON", 200, choices(R"("Hello")") + " x", unusable);
        bodyRow("array", 200, "[" + choices(R"("Hello")") + "]", unusable);
        bodyRow("nested beyond reason", 200, QByteArray(100000, '['), unusable);
        QTest::newRow("200 MB") << ScriptedReply{.bodySize = 200000000} << unusable;
        QTest::newRow("reset") << ScriptedReply{.ending = Ending::Reset}
                               << u"! The server closed the connection before its reply was complete"_s;

        bodyRow("empty object", 200, "{}", failed(200));
        bodyRow("redirect", 302, "{}", failed(302));
        bodyRow("error as text", 429, R"({"error":"slow down"})", failed(429));
        bodyRow("error without message", 400, R"({"error":{"code":7}})", failed(400));
        bodyRow("error with a number for a message", 418, R"({"error":{"message":7}})", failed(418));
        bodyRow("error in an array", 500, R"({"error":[{"message":"m"}]})", failed(500));
        bodyRow("error with a message", 500, R"({"error":{"message":"No <b>credit</b>\n left "}})",
                u"! No <b>credit</b>\n left "_s);
        bodyRow("error with an empty message", 500, R"({"error":{"message":""}})", u"! "_s);
        bodyRow("text", 200, choices(R"("Hello")"), u"Hello"_s);
        bodyRow("text of any status", 503, choices(R"("Hello")"), u"Hello"_s);
        bodyRow("trimmed", 200, choices(R"(" \n\t\u00a0\u2003Hi  there\u2028\u0085\r\n ")"), u"Hi  there"_s);
        bodyRow("trims to nothing", 200, choices(R"(" \n ")"), QString());
        bodyRow("escapes", 200, choices(R"("a\u0000b \ud83d\ude00 \u0022q\u0022")"),
                u"a"_s + QChar(0) + u"b \U0001F600 \"q\""_s);
        bodyRow("error before choices", 200,
                R"({"choices":[{"message":{"content":"Hello"}}],"error":{"message":"m"}})", u"! m"_s);
        bodyRow("unusable error, choices count", 200,
                R"({"choices":[{"message":{"content":"Hello"}}],"error":"e"})", u"Hello"_s);
        bodyRow("first choice only", 200,
                R"({"choices":[{"message":{"content":"a"}},{"message":{"content":"b"}}]})", u"a"_s);
        bodyRow("second choice no object", 200, R"({"choices":[{"message":{"content":"a"}},7]})",
                failed(200));
        bodyRow("first choice without message", 200, R"({"choices":[{},{"message":{"content":"b"}}]})",
                failed(200));
        bodyRow("no choices", 201, R"({"choices":[]})", failed(201));
        bodyRow("choices no array", 404, R"({"choices":{"0":{"message":{"content":"a"}}}})", failed(404));
        bodyRow("content null", 200, choices("null"), failed(200));
        bodyRow("content in parts", 200, choices(R"([{"type":"text","text":"a"}])"), failed(200));
        bodyRow("text of the other route", 200, R"({"text":"a"})", failed(200));
        bodyRow("message of the other route", 400, R"({"message":"m","msg":"n"})", failed(400));
    }
    void directReply() { checkReply(m_nobody); }

    void backendReply_data() {
        QTest::addColumn<ScriptedReply>("reply");
        QTest::addColumn<QString>("expected");
        const auto unusable = u"! Unparseable response from the Tavrik server"_s;
        bodyRow("no body", 200, "", unusable);
        bodyRow("page of a proxy", 502, "<html>502</html>", unusable);
        QTest::newRow("200 MB") << ScriptedReply{.bodySize = 200000000} << unusable;
        bodyRow("empty object", 200, "{}", u"! Translation failed (HTTP 200)"_s);
        bodyRow("error as text", 429, R"({"error":"slow down"})", u"! Translation failed (HTTP 429)"_s);
        bodyRow("text", 200, R"({"text":"Hello"})", u"Hello"_s);
        bodyRow("trimmed text of any status", 500, R"({"text":"  Hello\n"})", u"Hello"_s);
        bodyRow("text before error", 200, R"({"error":{"message":"m"},"text":"Hello"})", u"Hello"_s);
        bodyRow("trims to nothing", 200, R"({"text":" \n "})", QString());
        bodyRow("text no string", 200, R"({"text":7,"msg":"n"})", u"! n"_s);
        bodyRow("error, msg and message", 400, R"({"message":"o","msg":"n","error":{"message":"m"}})",
                u"! m"_s);
        bodyRow("msg and message", 400, R"({"message":"o","msg":"n"})", u"! n"_s);
        bodyRow("error unusable, message", 401, R"({"error":"e","msg":7,"message":"o"})", u"! o"_s);
        bodyRow("choices of the other route", 200, choices(R"("a")"), u"! Translation failed (HTTP 200)"_s);
    }
    void backendReply() { checkReply(m_somebody); }

    void directRequest_data() {
        QTest::addColumn<QVariant>("language");
        QTest::addColumn<QVariant>("model");
        QTest::addColumn<QString>("sentLanguage");
        QTest::addColumn<QString>("sentModel");
        const auto flash = u"google/gemini-2.5-flash"_s;
        const auto row = [&](const char* name, const QString& text) {
            QTest::newRow(name) << QVariant(text) << QVariant(text) << text << text;
        };
        QTest::newRow("defaults") << QVariant() << QVariant() << u"English"_s << flash;
        QTest::newRow("wrong types") << QVariant(7) << QVariant(true) << u"English"_s << flash;
        row("empty", QString());
        row("quotes and backslashes", u"a\"},{\"b\\\"\\u0041/"_s);
        row("control characters", u"a\n\r\t\x01\x1f\x7f"_s + QChar(0) + u"b"_s);
        row("other scripts", u"فارسی 日本 \U0001F600 \u2028\ufeff"_s);
        row("percent", u"%1 %2"_s);
        const QString lone = u"a"_s + QChar(0xd800) + u"b"_s;
        const QString replaced = u"a?b"_s;
        QTest::newRow("lone surrogate") << QVariant(lone) << QVariant(lone) << replaced << replaced;
    }
    void directRequest() {
        QFETCH(QVariant, language);
        QFETCH(QVariant, model);
        QFETCH(QString, sentLanguage);
        QFETCH(QString, sentModel);
        m_preferences->values[u"target_language"_s] = language;
        m_preferences->values[u"openrouter_model"_s] = model;
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
            u"You will receive an audio clip of someone speaking, mostly in Persian (Farsi), possibly mixing "
            u"in "
            "some English words or technical terms. Translate everything they said into fluent, natural, "
            "native-sounding %1. Preserve the meaning, tone, and level of formality. Output ONLY the final "
            "%1 "
            "text \u2014 no quotes, no preamble, no explanations."_s;
        const QJsonObject text{{u"type"_s, u"text"_s}, {u"text"_s, prompt.arg(sentLanguage)}};
        const QJsonObject sound{{u"format"_s, u"wav"_s},
                                {u"data"_s, QString::fromLatin1(wav(1.1).toBase64())}};
        const QJsonObject audio{{u"type"_s, u"input_audio"_s}, {u"input_audio"_s, sound}};
        const QJsonObject message{{u"role"_s, u"user"_s}, {u"content"_s, QJsonArray{text, audio}}};
        const QJsonObject expected{
            {u"model"_s, sentModel}, {u"temperature"_s, 0.2}, {u"messages"_s, QJsonArray{message}}};
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
        const QJsonObject expected{{u"audio"_s, QString::fromLatin1(wav(1.1).toBase64())},
                                   {u"language"_s, u"English"_s}};
        QCOMPARE(sentBody(), expected);
    }

    void failsAtOnce_data() {
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<QVariant>("key");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("expected");
        const auto signIn = u"Sign in first: menubar icon \u2192 Open Tavrik."_s;
        QTest::newRow("no key") << false << QVariant() << m_file << signIn;
        QTest::newRow("empty key") << false << QVariant(QString()) << m_file << signIn;
        QTest::newRow("no file, no key")
            << false << QVariant() << m_folder.filePath(u"none.wav"_s) << u"No such file or directory"_s;
        QTest::newRow("a folder") << false << QVariant(u"k"_s) << m_folder.path() << u"is a directory"_s;
    }
    void failsAtOnce() {
        QFETCH(bool, signedIn);
        QFETCH(QVariant, key);
        QFETCH(QString, file);
        QFETCH(QString, expected);
        m_preferences->values[u"openrouter_api_key"_s] = key;
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
        account.token = std::unexpected(Error{u"Session expired."_s});
        auto translator = this->translator(account);
        QStringList results;
        translator.translate(m_file, [&](const Result<QString>& result) { results << shown(result); });
        QVERIFY(results.isEmpty());
        QTRY_COMPARE(results, QStringList{u"! Session expired."_s});
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
        account.waiting(u"t"_s);
        QTRY_COMPARE(results, QStringList{u"late"_s});

        // Nobody is left to ask.
        translator->translate(m_file, collect);
        translator.reset();
        account.waiting(u"t"_s);
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
        QTRY_COMPARE(results, (QStringList{u"fast"_s, u"slow"_s}));
    }

    void preparesTheConnectionOfItsRoute_data() {
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("connections");
        QTest::newRow("direct") << false << u"k"_s << 1;
        QTest::newRow("backend") << true << u"k"_s << 1;
        QTest::newRow("neither") << false << QString() << 0;
    }
    void preparesTheConnectionOfItsRoute() {
        QFETCH(bool, signedIn);
        QFETCH(QString, key);
        QFETCH(int, connections);
        m_preferences->values[u"openrouter_api_key"_s] = key;
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
};

QTEST_GUILESS_MAIN(TranslatorTest)
#include "tst_translator.moc"
