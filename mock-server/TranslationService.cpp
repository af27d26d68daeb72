#include "mock-server/TranslationService.h"

#include "mock-server/AuthService.h"
#include "mock-server/RequestChecks.h"
#include "mock-server/Wav.h"

#include <QDateTime>
#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

namespace {

/// The error format of the chat-completions service; the translate function's is the same without the code.
Reply chatError(int status, const QString& message) {
    return Reply::json(status, {{u"error"_s, QJsonObject{{u"message"_s, message}, {u"code"_s, status}}}});
}

Reply translateError(int status, const QString& message) {
    return Reply::json(status, {{u"error"_s, QJsonObject{{u"message"_s, message}}}});
}

/// Whatever the model service said concerns the owner of a hosted project, not its users.
Reply unavailable() {
    return translateError(502, u"Translation is not available at the moment. Please try again later."_s);
}

/// One sentence that cannot be mistaken for a translation.
QString describe(const Sound& sound, const QString& language) {
    const auto seconds = QString::number(sound.duration, 'f', 1);
    const auto heard =
        std::isinf(sound.loudness) ? u"silence"_s : u"audio at %1 dBFS"_s.arg(std::lround(sound.loudness));
    return u"Offline mock server: received %1 seconds of %2 for %3."_s.arg(seconds, heard, language);
}

/// What a chat request asks for.
struct ChatRequest {
    QString model;
    QString prompt = {};
    std::optional<Sound> sound = {};
};

Result<ChatRequest> parseChatRequest(const QByteArray& body) {
    const auto invalid = [](const QString& message) {
        return std::unexpected(Error{message});
    };
    const auto document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return invalid(u"The body is not a JSON object"_s);
    ChatRequest request{.model = document[u"model"_s].toString()};
    if (request.model.isEmpty())
        return invalid(u"No models provided"_s);
    const auto temperature = document[u"temperature"_s];
    if (!temperature.isUndefined() && (temperature.toDouble(-1) < 0 || temperature.toDouble() > 2))
        return invalid(u"temperature must be a number from 0 to 2"_s);

    const auto messages = document[u"messages"_s].toArray();
    if (messages.size() != 1 || messages[0][u"role"_s] != u"user"_s)
        return invalid(u"messages: exactly one user message is needed"_s);
    for (const auto content = messages[0][u"content"_s].toArray(); const auto& part : content) {
        const auto type = part[u"type"_s].toString();
        const auto audio = part[u"input_audio"_s];
        if (type == u"text") {
            request.prompt += part[u"text"_s].toString();
        } else if (type == u"input_audio" && audio[u"format"_s] == u"wav"_s) {
            const auto sound = measureEncodedWav(audio[u"data"_s].toString());
            if (!sound)
                return invalid(u"input_audio: "_s + sound.error().description);
            request.sound = *sound;
        } else {
            return invalid(u"messages: unknown kind of content"_s);
        }
    }
    if (request.prompt.isEmpty() || !request.sound)
        return invalid(u"messages: a text and a recording are needed"_s);
    return request;
}

Reply offlineCompletion(const ChatRequest& request) {
    static const QRegularExpression language(u"native-sounding (.+?)\\. Preserve "_s);
    const auto found = language.match(request.prompt);
    const auto text = describe(request.sound.value_or(Sound()),
                               found.hasMatch() ? found.captured(1) : u"an unnamed language"_s);
    const QJsonObject message{{u"role"_s, u"assistant"_s}, {u"content"_s, text}};
    const QJsonObject choice{{u"index"_s, 0}, {u"finish_reason"_s, u"stop"_s}, {u"message"_s, message}};
    return Reply::json(200, {{u"id"_s, u"gen-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces)},
                             {u"object"_s, u"chat.completion"_s},
                             {u"created"_s, QDateTime::currentSecsSinceEpoch()},
                             {u"model"_s, request.model},
                             {u"choices"_s, QJsonArray{choice}}});
}

QByteArray chatBody(const QString& audio, double duration, const QString& language) {
    const auto prompt =
        u"You will receive an audio clip of someone speaking, mostly in Persian (Farsi), possibly mixing in "
        "some English words or technical terms. Translate everything they said into fluent, natural, "
        "native-sounding %1. Preserve the meaning, tone, and level of formality. Output ONLY the final %1 "
        "text — no quotes, no preamble, no explanations."_s.arg(language);
    const QJsonArray content{
        QJsonObject{{u"type"_s, u"text"_s}, {u"text"_s, prompt}},
        QJsonObject{{u"type"_s, u"input_audio"_s},
                    {u"input_audio"_s, QJsonObject{{u"format"_s, u"wav"_s}, {u"data"_s, audio}}}}};
    return QJsonDocument(QJsonObject{{u"model"_s, u"google/gemini-2.5-flash"_s},
                                     {u"temperature"_s, 0.2},
                                     {u"max_tokens"_s, 4000 + 30 * static_cast<int>(std::ceil(duration))},
                                     {u"provider"_s, QJsonObject{{u"data_collection"_s, u"deny"_s}}},
                                     {u"messages"_s, QJsonArray{QJsonObject{{u"role"_s, u"user"_s},
                                                                            {u"content"_s, content}}}}})
        .toJson(QJsonDocument::Compact);
}

/// The translate function's reply to the model's.
Reply translation(const Reply& completion) {
    const auto document = QJsonDocument::fromJson(completion.body);
    const auto choice = document[u"choices"_s][0];
    const auto finish = choice[u"finish_reason"_s];
    const auto text = choice[u"message"_s][u"content"_s];
    if (document[u"error"_s].isObject() || finish == u"error"_s)
        return unavailable();
    if (finish == u"length"_s)
        return translateError(502, u"The translation became too long and was cut off."_s);
    return text.isString() ? Reply::json(200, {{u"text"_s, text.toString().trimmed()}}) : unavailable();
}

/// A request body that cannot be read again: keeps Qt from repeating a request whose connection breaks. Not a
/// QBuffer, which Qt would read without asking.
class SingleUpload : public QIODevice {
public:
    explicit SingleUpload(QByteArray bytes) : m_rest(std::move(bytes)) { open(ReadOnly | Unbuffered); }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_rest.size(); }
    bool atEnd() const override { return m_rest.isEmpty(); }
    bool reset() override { return false; }

protected:
    qint64 readData(char* data, qint64 maximum) override {
        const auto length = std::min(maximum, qint64{m_rest.size()});
        std::copy_n(m_rest.constData(), length, data);
        m_rest.remove(0, length);
        return length;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_rest;
};

} // namespace

TranslationService::TranslationService(const AuthService& accounts, Upstream upstream)
    : m_accounts(accounts), m_upstream(std::move(upstream)) {}

void TranslationService::completeChat(const Request& request, HttpHandler::Responder respond) {
    if (request.method != "POST")
        return respond(chatError(405, u"Method Not Allowed"_s));
    if (request.bearerToken().isEmpty())
        return respond(chatError(401, u"No auth credentials found"_s));
    if (!request.isJson())
        return respond(chatError(415, u"Content-Type must be application/json"_s));
    const auto parsed = parseChatRequest(request.body);
    if (!parsed)
        return respond(chatError(400, parsed.error().description));
    if (m_upstream.key.isEmpty())
        return respond(offlineCompletion(*parsed));
    forward(request.body,
            [respond = std::move(respond)](const std::optional<Reply>& reply, const QString& error) {
                respond(reply ? *reply : chatError(502, error));
            });
}

void TranslationService::translate(const Request& request, HttpHandler::Responder respond) {
    // A name, not a text that gives the model other instructions.
    static const QRegularExpression languageName(u"\\A\\p{L}[\\p{L}\\p{M} ()-]{0,99}\\z"_s);
    constexpr int longestMinutes = 10;
    if (const auto checked = checkPost(request); !checked)
        return respond(checked.error());
    if (!m_accounts.bearer(request))
        return respond(refusal(401, u"Invalid or expired access token"_s));
    const auto body = readObject(request);
    if (!body)
        return respond(body.error());
    const auto language = body->value(u"language"_s).toString();
    if (!languageName.match(language).hasMatch())
        return respond(translateError(400, u"language: a name is needed"_s));
    const auto audio = body->value(u"audio"_s).toString();
    const auto sound = measureEncodedWav(audio);
    if (!sound)
        return respond(translateError(400, u"audio: "_s + sound.error().description));
    if (sound->rate != 16000 || sound->channels != 1)
        return respond(translateError(400, u"audio: not 16 kHz, mono, 16-bit PCM"_s));
    if (sound->duration > longestMinutes * 60)
        return respond(
            translateError(413, u"The recording is longer than %1 minutes."_s.arg(longestMinutes)));
    if (m_upstream.key.isEmpty())
        return respond(Reply::json(200, {{u"text"_s, describe(*sound, language)}}));
    forward(chatBody(audio, sound->duration, language),
            [respond = std::move(respond)](const std::optional<Reply>& reply, const QString&) {
                respond(reply ? translation(*reply) : unavailable());
            });
}

void TranslationService::forward(const QByteArray& body,
                                 std::function<void(std::optional<Reply>, QString)> completion) {
    constexpr int timeoutMs = 60'000;
    auto url = m_upstream.url;
    url.setPath(QString::fromLatin1(chatPath));
    QNetworkRequest request(url);
    request.setRawHeader("Authorization", "Bearer " + m_upstream.key);
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/json"_s);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(timeoutMs);
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    auto* upload = new SingleUpload(body);
    auto* reply = m_network.post(request, upload);
    upload->setParent(reply);
    connect(reply, &QNetworkReply::finished, this, [reply, completion = std::move(completion)] {
        reply->deleteLater();
        const auto status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        // The errors above are the service's own replies, the others mean that the reply is not whole.
        const bool whole =
            reply->error() == QNetworkReply::NoError || reply->error() > QNetworkReply::UnknownProxyError;
        if (status == 0 || !whole)
            return completion({}, reply->errorString());
        completion(Reply{status, {{"Content-Type", "application/json"}}, reply->readAll()}, {});
    });
}

} // namespace tavrik::mock
