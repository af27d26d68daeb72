#include "account/Account.h"
#include "base/MainQueue.h"
#include "mock-server/LocalService.h"
#include "preferences/Settings.h"
#include "support/FakePlatform.h"
#include "support/Files.h"
#include "translation/Replies.h"
#include "translation/Translator.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace tavrik;
using namespace tavrik::test;
using namespace Qt::StringLiterals;

namespace {

class FakeAccount : public Account {
public:
    bool isSignedIn() const override { return signedIn; }
    void withValidAccessToken(Completion<QString> completion) override { pending = std::move(completion); }

    bool signedIn = false;
    Completion<QString> pending;
};

const auto chatPath = u"/api/v1/chat/completions"_s;

/// The text, or the error after "! ".
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
    const QByteArray m_take = QByteArray("\0\xff\r\n", 4).repeated(10'000);
    const QString m_audio = QString::fromLatin1(m_take.toBase64());
    const QString m_file = m_folder.filePath(u"take.wav"_s);
    MainQueue m_queue;
    FakeAccount m_account;
    QStringList m_results;
    std::unique_ptr<fake::Preferences> m_preferences;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<LocalService> m_service;
    std::unique_ptr<LocalService> m_backend;
    std::unique_ptr<HttpClient> m_http;
    std::unique_ptr<Translator> m_translator;

    void translate(const QString& file) {
        m_translator->translate(file, [this](const Result<QString>& result) { m_results << shown(result); });
    }

private Q_SLOTS:
    void init() {
        QVERIFY(writeFile(m_file, m_take));
        m_preferences = std::make_unique<fake::Preferences>();
        m_preferences->values[u"openrouter_api_key"_s] = u"sk-own"_s;
        m_settings = std::make_unique<Settings>(*m_preferences);
        m_service = std::make_unique<LocalService>();
        m_backend = std::make_unique<LocalService>();
        m_http = std::make_unique<HttpClient>(m_queue);
        m_account.signedIn = false;
        m_results.clear();
        m_translator = std::make_unique<Translator>(m_account, *m_settings, *m_http, m_queue,
                                                    Supabase{.url = m_backend->url(), .anonKey = "anon"},
                                                    m_service->url(chatPath), std::chrono::seconds(2));
    }

    void replies() {
        const auto unusable = u"! Unparseable response from OpenRouter"_s;
        const auto failed = u"! Unexpected response (HTTP 404)"_s;
        const std::tuple<Result<QString> (*)(const HttpResponse&), QByteArray, QString> rows[]{
            {readOpenRouterReply, "", u"! Empty response from OpenRouter"_s},
            {readOpenRouterReply, choices(R"("Hello")") + " x", unusable},
            {readOpenRouterReply, R"({"error":{"message":7}})", failed},
            {readOpenRouterReply, choices(R"(" \n\u00a0\u2003Hi  there\u2028\u0085\r ")"), u"Hi  there"_s},
            {readOpenRouterReply, choices(R"("a\u0000b \ud83d\ude00")"),
             u"a"_s + QChar(0) + u"b \U0001F600"_s},
            {readOpenRouterReply, R"({"choices":[{"message":{"content":"a"}}],"error":{"message":" m"}})",
             u"!  m"_s},
            {readOpenRouterReply, R"({"choices":[{"message":{"content":" "}},{}],"error":"e"})", QString()},
            {readOpenRouterReply, R"({"choices":[{"message":{"content":"a"}},7]})", failed},
            {readOpenRouterReply, R"({"choices":[]})", failed},
            {readOpenRouterReply, choices("null"), failed},
            {readBackendReply, "", u"! Unparseable response from the Tavrik server"_s},
            {readBackendReply, R"({"error":{"message":"m"},"text":"  Hello\n"})", u"Hello"_s},
            {readBackendReply, R"({"text":7,"msg":"n","message":"o"})", u"! n"_s},
            {readBackendReply, R"({"message":"o","msg":"n","error":{"message":"m"}})", u"! m"_s},
            {readBackendReply, R"({"error":"e","msg":7,"message":"o"})", u"! o"_s},
            {readBackendReply, choices(R"("a")"), u"! Translation failed (HTTP 404)"_s}};
        for (const auto& [read, body, expected] : rows)
            QCOMPARE(shown(read({404, body})), expected);
        QCOMPARE(shown(readOpenRouterReply({200, {}, true})), unusable);
    }

    void directRequest() {
        // A lone surrogate is replaced.
        const auto setting = u"a\"},{\"b\\\"\\u0041/\n\x01\x7f %1 فارسی \U0001F600 \u2028"_s + QChar(0);
        m_preferences->values[u"target_language"_s] = QString(setting + QChar(0xd800));
        m_preferences->values[u"openrouter_model"_s] = QString(setting + QChar(0xd800));
        m_service->script({{.reply = {.body = choices(R"("Hello")")}}});
        translate(m_file);
        QTRY_COMPARE(m_results, QStringList{u"Hello"_s});

        const auto& request = m_service->requests().last();
        QCOMPARE(request.method + ' ' + request.path, "POST /api/v1/chat/completions");
        QCOMPARE(request.header("Content-Type"), "application/json");
        QCOMPARE(request.header("Authorization"), "Bearer sk-own");
        const auto prompt =
            u"You will receive an audio clip of someone speaking, mostly in Persian (Farsi), possibly mixing "
            "in some English words or technical terms. Translate everything they said into fluent, natural, "
            "native-sounding %1. Preserve the meaning, tone, and level of formality. Output ONLY the final "
            "%1 text \u2014 no quotes, no preamble, no explanations."_s.arg(setting + u'?');
        const QJsonObject sound{{u"format"_s, u"wav"_s}, {u"data"_s, m_audio}};
        const QJsonArray content{QJsonObject{{u"type"_s, u"text"_s}, {u"text"_s, prompt}},
                                 QJsonObject{{u"type"_s, u"input_audio"_s}, {u"input_audio"_s, sound}}};
        const QJsonObject message{{u"role"_s, u"user"_s}, {u"content"_s, content}};
        const QJsonObject expected{{u"model"_s, QString(setting + u'?')},
                                   {u"temperature"_s, 0.2},
                                   {u"messages"_s, QJsonArray{message}}};
        QCOMPARE(QJsonDocument::fromJson(request.body).object(), expected);
    }

    // What the backend is sent, test_accounts.py sees.
    void aDestroyedTranslatorAsksNobody() {
        m_account.signedIn = true;
        translate(m_file);
        m_translator.reset();
        m_account.pending(u"late"_s);
        QCoreApplication::processEvents();
        QCOMPARE(m_backend->connectionCount(), 0);
        QCOMPARE(m_results, QStringList());
    }

    void failsAtOnce() {
        const std::tuple<QVariant, QString, QString> rows[]{
            {QString(), m_file, u"! Sign in first: menubar icon \u2192 Open Tavrik."_s},
            {QVariant(), m_folder.filePath(u"none.wav"_s), u"No such file or directory"_s},
            {u"k"_s, m_folder.path(), u"is a directory"_s}};
        for (int count = 0; const auto& [key, file, expected] : rows) {
            m_preferences->values[u"openrouter_api_key"_s] = key;
            translate(file);
            QCOMPARE(m_results.size(), ++count);
            QVERIFY2(m_results.last().endsWith(expected), qPrintable(m_results.last()));
        }
    }

    void preparesTheConnectionOfItsRoute() {
        const std::tuple<bool, QString, int, int> rows[]{
            {false, u"k"_s, 0, 1}, {true, u"k"_s, 1, 0}, {false, QString(), 0, 0}};
        for (const auto& [signedIn, key, toBackend, toOpenRouter] : rows) {
            init();
            m_account.signedIn = signedIn;
            m_preferences->values[u"openrouter_api_key"_s] = key;
            m_translator->prepare();
            QTRY_COMPARE(m_backend->connectionCount(), toBackend);
            QTRY_COMPARE(m_service->connectionCount(), toOpenRouter);
            translate(m_file);
            if (signedIn)
                m_account.pending(u"t"_s);
            QTRY_COMPARE(m_results.size(), 1);
            QCOMPARE(m_backend->connectionCount() + m_service->connectionCount(), toBackend + toOpenRouter);
        }
    }
};

QTEST_GUILESS_MAIN(TranslatorTest)
#include "tst_translator.moc"
