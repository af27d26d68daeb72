#include "mock-server/ChatCompletions.h"

#include "mock-server/ModelService.h"
#include "mock-server/OfflineAnswer.h"
#include "mock-server/WavFile.h"
#include "services/HttpClient.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QUuid>

#include <expected>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

namespace {

/// The parts of a request that the answer is made of.
struct Question {
    QString model;
    QString prompt = {};
    Sound sound = {};
};

Reply refusal(int status, const QString& message) {
    return Reply::json(status, {{u"error"_s, QJsonObject{{u"message"_s, message}, {u"code"_s, status}}}});
}

std::unexpected<Reply> invalid(const QString& message) {
    return std::unexpected(refusal(400, message));
}

std::expected<QJsonObject, Reply> readObject(const Request& request) {
    if (request.method != "POST")
        return std::unexpected(refusal(405, u"Method Not Allowed"_s));
    if (request.bearerToken().isEmpty())
        return std::unexpected(refusal(401, u"No auth credentials found"_s));
    if (!request.isJson())
        return std::unexpected(refusal(415, u"Content-Type must be application/json"_s));
    const auto document = QJsonDocument::fromJson(request.body);
    if (!document.isObject())
        return invalid(u"The body is not a JSON object"_s);
    return document.object();
}

Result<Sound> readAudio(const QJsonObject& audio) {
    if (audio[u"format"_s] != u"wav"_s)
        return std::unexpected(Error{u"input_audio: the format must be wav"_s});
    const auto bytes = decodeBase64(audio[u"data"_s].toString());
    const auto sound = bytes ? measureWav(*bytes) : std::unexpected(bytes.error());
    if (!sound)
        return std::unexpected(Error{u"input_audio: "_s + sound.error().description});
    return sound;
}

bool isTemperature(const QJsonValue& value) {
    return value.isUndefined() || (value.isDouble() && value.toDouble() >= 0 && value.toDouble() <= 2);
}

std::expected<Question, Reply> readQuestion(const Request& request) {
    const auto object = readObject(request);
    if (!object)
        return std::unexpected(object.error());
    Question question{.model = object->value(u"model"_s).toString()};
    if (question.model.isEmpty())
        return invalid(u"No models provided"_s);
    if (!isTemperature(object->value(u"temperature"_s)))
        return invalid(u"temperature must be a number from 0 to 2"_s);

    const auto messages = object->value(u"messages"_s).toArray();
    if (messages.size() != 1 || messages[0][u"role"_s] != u"user"_s)
        return invalid(u"messages: one of the user's is needed"_s);
    std::optional<Sound> recording;
    for (const auto parts = messages[0][u"content"_s].toArray(); const auto& part : parts) {
        const auto type = part[u"type"_s].toString();
        if (type == u"text") {
            question.prompt += part[u"text"_s].toString();
        } else if (type == u"input_audio") {
            const auto sound = readAudio(part[u"input_audio"_s].toObject());
            if (!sound)
                return invalid(sound.error().description);
            recording = *sound;
        } else {
            return invalid(u"messages: unknown kind of content"_s);
        }
    }
    if (question.prompt.isEmpty() || !recording)
        return invalid(u"messages: a text and a recording are needed"_s);
    question.sound = *recording;
    return question;
}

QString statement(const Question& question) {
    static const QRegularExpression language(u"native-sounding (.+?)\\. Preserve "_s);
    const auto found = language.match(question.prompt);
    return offlineAnswer(question.sound, found.hasMatch() ? found.captured(1) : u"an unnamed language"_s);
}

Reply completion(const Question& question) {
    const QJsonObject message{{u"role"_s, u"assistant"_s}, {u"content"_s, statement(question)}};
    const QJsonObject choice{{u"index"_s, 0}, {u"finish_reason"_s, u"stop"_s}, {u"message"_s, message}};
    return Reply::json(200, {{u"id"_s, u"gen-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces)},
                             {u"object"_s, u"chat.completion"_s},
                             {u"created"_s, QDateTime::currentSecsSinceEpoch()},
                             {u"model"_s, question.model},
                             {u"choices"_s, QJsonArray{choice}}});
}

} // namespace

void ChatCompletions::answer(const Request& request, HttpHandler::Responder respond) {
    const auto question = readQuestion(request);
    if (!question)
        return respond(question.error());
    if (!m_models.isAvailable())
        return respond(completion(*question));
    m_models.ask(request.body, [respond = std::move(respond)](Result<HttpResponse> response) mutable {
        if (!response)
            return respond(refusal(502, response.error().description));
        respond({response->status, {{"Content-Type", "application/json"}}, response->body});
    });
}

} // namespace tavrik::backend
