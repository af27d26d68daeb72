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

/// The text, or the error after "! ".
QString shown(const Result<QString>& result) {
    return result ? *result : u"! "_s + result.error().description;
}

/// A translator, the user's account, and both services.
struct Fixture : Account {
    Fixture() { preferences.values[u"openrouter_api_key"_s] = u"sk-own"_s; }

    bool isSignedIn() const override { return signedIn; }
    void withValidAccessToken(Completion<QString> completion) override { pending = std::move(completion); }

    void translate(const QString& file) {
        translator->translate(file, [this](const Result<QString>& result) { results << shown(result); });
    }

    bool signedIn = false;
    Completion<QString> pending;
    QStringList results;
    fake::Preferences preferences;
    Settings settings{preferences};
    LocalService openRouter;
    LocalService backend;
    MainQueue queue;
    HttpClient http{queue};
    std::unique_ptr<Translator> translator = std::make_unique<Translator>(
        *this, settings, http, queue, Supabase{.url = backend.url(), .anonKey = "anon"},
        openRouter.url(u"/api/v1/chat/completions"_s), std::chrono::seconds(2));
};

QByteArray choices(const QByteArray& content) {
    return R"({"choices":[{"message":{"content":)" + content + "}}]}";
}

} // namespace

class TranslatorTest : public QObject {
    Q_OBJECT

    const QTemporaryDir m_folder;
    const QByteArray m_take = QByteArray("\0\xff\r\n", 4).repeated(10'000);
    const QString m_file = m_folder.filePath(u"take.wav"_s);

private Q_SLOTS:
    void initTestCase() { QVERIFY(writeFile(m_file, m_take)); }

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
        Fixture fixture;
        fixture.preferences.values[u"target_language"_s] = QString(setting + QChar(0xd800));
        fixture.preferences.values[u"openrouter_model"_s] = QString(setting + QChar(0xd800));
        fixture.openRouter.script({{.reply = {.body = choices(R"("Hello")")}}});
        fixture.translate(m_file);
        QTRY_COMPARE(fixture.results, QStringList{u"Hello"_s});

        const auto& request = fixture.openRouter.requests().last();
        QCOMPARE(request.method + ' ' + request.path, "POST /api/v1/chat/completions");
        QCOMPARE(request.header("Content-Type"), "application/json");
        QCOMPARE(request.header("Authorization"), "Bearer sk-own");
        const auto prompt =
            u"You will receive an audio clip of someone speaking, mostly in Persian (Farsi), possibly mixing "
            "in some English words or technical terms. Translate everything they said into fluent, natural, "
            "native-sounding %1. Preserve the meaning, tone, and level of formality. Output ONLY the final "
            "%1 text \u2014 no quotes, no preamble, no explanations."_s.arg(setting + u'?');
        const QJsonObject sound{{u"format"_s, u"wav"_s}, {u"data"_s, QString::fromLatin1(m_take.toBase64())}};
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
        Fixture fixture;
        fixture.signedIn = true;
        fixture.translate(m_file);
        fixture.translator.reset();
        fixture.pending(u"late"_s);
        QCoreApplication::processEvents();
        QCOMPARE(fixture.backend.connectionCount(), 0);
        QCOMPARE(fixture.results, QStringList());
    }

    void failsAtOnce() {
        const std::tuple<QVariant, QString, QString> rows[]{
            {QString(), m_file, u"! Sign in first: menubar icon \u2192 Open Tavrik."_s},
            {QVariant(), m_folder.filePath(u"none.wav"_s), u"No such file or directory"_s},
            {u"k"_s, m_folder.path(), u"is a directory"_s}};
        for (const auto& [key, file, expected] : rows) {
            Fixture fixture;
            fixture.preferences.values[u"openrouter_api_key"_s] = key;
            fixture.translate(file);
            QVERIFY2(fixture.results.value(0).endsWith(expected), qPrintable(fixture.results.join(u'|')));
        }
    }

    void preparesTheConnectionOfItsRoute() {
        const std::tuple<bool, QString, int, int> rows[]{
            {false, u"k"_s, 0, 1}, {true, u"k"_s, 1, 0}, {false, QString(), 0, 0}};
        for (const auto& [signedIn, key, toBackend, toOpenRouter] : rows) {
            Fixture fixture;
            fixture.signedIn = signedIn;
            fixture.preferences.values[u"openrouter_api_key"_s] = key;
            fixture.translator->prepare();
            QTRY_COMPARE(fixture.backend.connectionCount(), toBackend);
            QTRY_COMPARE(fixture.openRouter.connectionCount(), toOpenRouter);
            fixture.translate(m_file);
            if (signedIn)
                fixture.pending(u"t"_s);
            QTRY_COMPARE(fixture.results.size(), 1);
            QCOMPARE(fixture.backend.connectionCount() + fixture.openRouter.connectionCount(),
                     toBackend + toOpenRouter);
        }
    }
};

QTEST_GUILESS_MAIN(TranslatorTest)
#include "tst_translator.moc"
