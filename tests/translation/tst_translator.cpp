#include "account/Account.h"
#include "base/MainQueue.h"
#include "mock-server/LocalService.h"
#include "mock-server/TestWav.h"
#include "preferences/Settings.h"
#include "support/FakePlatform.h"
#include "translation/Replies.h"
#include "translation/Translator.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace tavrik;
using namespace tavrik::mock;
using namespace tavrik::test;
using namespace Qt::StringLiterals;

namespace {

/// Answers at once or when told.
class FakeAccount : public Account {
public:
    explicit FakeAccount(bool signedIn) : m_signedIn(signedIn) {}
    bool isSignedIn() const override { return m_signedIn; }
    void withValidAccessToken(Completion<QString> completion) override {
        if (waits)
            waiting = std::move(completion);
        else
            completion(token);
    }

    Result<QString> token = u"session-token"_s;
    bool waits = false;
    Completion<QString> waiting;

private:
    const bool m_signedIn;
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
    FakeAccount m_nobody{false};
    FakeAccount m_somebody{true};

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

    /// What comes of translating the recording.
    QString translate(Account& account) {
        auto translator = this->translator(account);
        QStringList results;
        translator.translate(m_file, [&](const Result<QString>& result) { results << shown(result); });
        return QTest::qWaitFor([&] { return !results.isEmpty(); }, 30000) ? results.join(u'|') : QString();
    }

    QJsonObject sentBody() const {
        return QJsonDocument::fromJson(m_service->requests().constLast().body).object();
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

    void openRouterReplies() {
        const auto unusable = u"! Unparseable response from OpenRouter"_s;
        const auto failed = u"! Unexpected response (HTTP 404)"_s;
        const std::pair<QByteArray, QString> rows[]{
            {"", u"! Empty response from OpenRouter"_s},
            {"<html>", unusable},
            {choices(R"("Hello")") + " x", unusable},
            {"[" + choices(R"("Hello")") + "]", unusable},
            {"{}", failed},
            {R"({"error":"slow down"})", failed},
            {R"({"error":{"message":7}})", failed},
            {R"({"error":{"message":"No <b>credit</b>\n left "}})", u"! No <b>credit</b>\n left "_s},
            {choices(R"(" \n\t\u00a0\u2003Hi  there\u2028\u0085\r\n ")"), u"Hi  there"_s},
            {choices(R"(" \n ")"), QString()},
            {choices(R"("a\u0000b \ud83d\ude00 \u0022q\u0022")"),
             u"a"_s + QChar(0) + u"b \U0001F600 \"q\""_s},
            {R"({"choices":[{"message":{"content":"Hello"}}],"error":{"message":"m"}})", u"! m"_s},
            {R"({"choices":[{"message":{"content":"Hello"}}],"error":"e"})", u"Hello"_s},
            {R"({"choices":[{"message":{"content":"a"}},{"message":{"content":"b"}}]})", u"a"_s},
            {R"({"choices":[{"message":{"content":"a"}},7]})", failed},
            {R"({"choices":[{},{"message":{"content":"b"}}]})", failed},
            {R"({"choices":[]})", failed},
            {choices("null"), failed},
            {R"({"text":"a","message":"m","msg":"n"})", failed}};
        for (const auto& [body, expected] : rows)
            QCOMPARE(shown(readOpenRouterReply({.status = 404, .body = body})), expected);
        QCOMPARE(shown(readOpenRouterReply({.status = 200, .body = {}, .oversized = true})), unusable);
    }

    void backendReplies() {
        const auto unusable = u"! Unparseable response from the Tavrik server"_s;
        const auto failed = u"! Translation failed (HTTP 500)"_s;
        const std::pair<QByteArray, QString> rows[]{
            {"", unusable},
            {"<html>502</html>", unusable},
            {"{}", failed},
            {R"({"error":"slow down"})", failed},
            {R"({"error":{"message":"m"},"text":"  Hello\n"})", u"Hello"_s},
            {R"({"text":" \n "})", QString()},
            {R"({"text":7,"msg":"n","message":"o"})", u"! n"_s},
            {R"({"message":"o","msg":"n","error":{"message":"m"}})", u"! m"_s},
            {R"({"error":"e","msg":7,"message":"o"})", u"! o"_s},
            {choices(R"("a")"), failed}};
        for (const auto& [body, expected] : rows)
            QCOMPARE(shown(readBackendReply({.status = 500, .body = body})), expected);
        QCOMPARE(shown(readBackendReply({.status = 200, .body = {}, .oversized = true})), unusable);
    }

    void directRequest() {
        const auto setting = u"a\"},{\"b\\\"\\u0041/\n\x01\x7f %1 فارسی \U0001F600 \u2028"_s + QChar(0);
        const auto sent = setting + u'?';
        // Half a character at the end.
        m_preferences->values[u"target_language"_s] = QString(setting + QChar(0xd800));
        m_preferences->values[u"openrouter_model"_s] = QString(setting + QChar(0xd800));
        m_service->script({{.reply = {.body = choices(R"("Hello")")}}});
        QCOMPARE(translate(m_nobody), u"Hello"_s);

        const auto& request = m_service->requests().constLast();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.path, openRouterPath.toLatin1());
        QCOMPARE(request.query, QByteArray());
        QCOMPARE(request.header("Authorization"), "Bearer sk-own");
        QCOMPARE(request.header("Content-Type"), "application/json");
        QCOMPARE(request.header("apikey"), QByteArray());

        const auto prompt =
            u"You will receive an audio clip of someone speaking, mostly in Persian (Farsi), possibly mixing "
            u"in "
            "some English words or technical terms. Translate everything they said into fluent, natural, "
            "native-sounding %1. Preserve the meaning, tone, and level of formality. Output ONLY the final "
            "%1 "
            "text \u2014 no quotes, no preamble, no explanations."_s;
        const QJsonObject text{{u"type"_s, u"text"_s}, {u"text"_s, prompt.arg(sent)}};
        const QJsonObject sound{{u"format"_s, u"wav"_s},
                                {u"data"_s, QString::fromLatin1(wav(1.1).toBase64())}};
        const QJsonObject audio{{u"type"_s, u"input_audio"_s}, {u"input_audio"_s, sound}};
        const QJsonObject message{{u"role"_s, u"user"_s}, {u"content"_s, QJsonArray{text, audio}}};
        const QJsonObject expected{
            {u"model"_s, sent}, {u"temperature"_s, 0.2}, {u"messages"_s, QJsonArray{message}}};
        QCOMPARE(sentBody(), expected);
    }

    void backendRequest() {
        m_service->script({{.reply = {.body = R"({"text":"Hello"})"}}});
        QCOMPARE(translate(m_somebody), u"Hello"_s);
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

    void failsAtOnce() {
        const auto signIn = u"Sign in first: menubar icon \u2192 Open Tavrik."_s;
        const std::tuple<QVariant, QString, QString> rows[]{
            {QVariant(), m_file, signIn},
            {QString(), m_file, signIn},
            {QVariant(), m_folder.filePath(u"none.wav"_s), u"No such file or directory"_s},
            {u"k"_s, m_folder.path(), u"is a directory"_s}};
        for (const auto& [key, file, expected] : rows) {
            m_preferences->values[u"openrouter_api_key"_s] = key;
            auto translator = this->translator(m_nobody);
            QStringList results;
            translator.translate(file, [&](const Result<QString>& result) { results << shown(result); });
            QCOMPARE(results.size(), 1);
            QVERIFY2(results.first().startsWith(u"! ") && results.first().endsWith(expected),
                     qPrintable(results.first()));
        }
        QCoreApplication::processEvents();
        QCOMPARE(m_service->connectionCount(), 0);
    }

    void tokenFailureComesThroughTheQueue() {
        FakeAccount account(true);
        account.token = std::unexpected(Error{u"Session expired."_s});
        auto translator = this->translator(account);
        QStringList results;
        translator.translate(m_file, [&](const Result<QString>& result) { results << shown(result); });
        QVERIFY(results.isEmpty());
        QTRY_COMPARE(results, QStringList{u"! Session expired."_s});
        QCOMPARE(m_service->connectionCount(), 0);
    }

    void tokenThatComesLater() {
        FakeAccount account(true);
        account.waits = true;
        QStringList results;
        {
            auto translator = this->translator(account);
            const auto collect = [&](const Result<QString>& result) {
                results << shown(result);
            };
            translator.translate(m_file, collect);
            m_service->script({{.reply = {.body = R"({"text":"late"})"}}});
            account.waiting(u"t"_s);
            QTRY_COMPARE(results, QStringList{u"late"_s});
            translator.translate(m_file, collect);
        }
        // Nobody is left to ask.
        account.waiting(u"t"_s);
        QCoreApplication::processEvents();
        QCOMPARE(m_service->requests().size(), 1);
    }

    void aBrokenConnectionIsTold() {
        m_service->script({{.ending = ScriptedReply::Ending::reset}});
        QCOMPARE(translate(m_nobody), u"! The server closed the connection before its reply was complete"_s);
        QCOMPARE(m_service->requests().size(), 1);
    }

    void preparesTheConnectionOfItsRoute() {
        const std::tuple<Account&, QString, int, int> rows[]{
            {m_nobody, u"k"_s, 0, 1}, {m_somebody, u"k"_s, 1, 0}, {m_nobody, QString(), 0, 0}};
        for (const auto& [account, key, toBackend, toOpenRouter] : rows) {
            m_preferences->values[u"openrouter_api_key"_s] = key;
            HttpClient http(m_queue);
            const LocalService backend;
            const LocalService openRouter;
            Translator translator(account, *m_settings, http, m_queue,
                                  {.url = backend.url(), .anonKey = "anon"}, openRouter.url(openRouterPath));
            translator.prepare();
            QTRY_COMPARE(backend.connectionCount(), toBackend);
            QTRY_COMPARE(openRouter.connectionCount(), toOpenRouter);
            bool done = false;
            translator.translate(m_file, [&](const auto&) { done = true; });
            QTRY_VERIFY(done);
            QCOMPARE(backend.connectionCount(), toBackend);
            // By the time another is answered, a connection nobody uses would be there as well.
            bool answered = false;
            http.send({.method = "GET", .url = backend.url(), .headers = {}, .body = {}},
                      [&](const auto&) { answered = true; });
            QTRY_VERIFY(answered);
            QCOMPARE(openRouter.connectionCount(), toOpenRouter);
        }
    }
};

QTEST_GUILESS_MAIN(TranslatorTest)
#include "tst_translator.moc"
