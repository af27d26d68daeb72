#include "translation/Replies.h"

#include "translation/TranslatorError.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <optional>

namespace tavrik {

namespace {

std::unexpected<Error> badResponse(const QString& message) {
    return std::unexpected(TranslatorError::badResponse(message));
}

std::optional<QJsonObject> parse(const HttpResponse& response) {
    if (response.oversized)
        return std::nullopt;
    const auto document = QJsonDocument::fromJson(response.body);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

std::optional<QString> stringIn(const QJsonObject& object, const QString& member) {
    const auto value = object.value(member);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

std::optional<QString> nestedError(const QJsonObject& reply) {
    return stringIn(reply.value(QStringLiteral("error")).toObject(), QStringLiteral("message"));
}

/// The text of the first choice, provided that every choice is one.
std::optional<QString> firstChoice(const QJsonObject& reply) {
    const auto choices = reply.value(QStringLiteral("choices")).toArray();
    if (choices.isEmpty() || !std::all_of(choices.begin(), choices.end(),
                                          [](const QJsonValue& choice) { return choice.isObject(); }))
        return std::nullopt;
    return stringIn(choices.first().toObject().value(QStringLiteral("message")).toObject(),
                    QStringLiteral("content"));
}

} // namespace

Result<QString> readBackendReply(const HttpResponse& response) {
    const auto reply = parse(response);
    if (!reply)
        return badResponse(QStringLiteral("Unparseable response from the Tavrik server"));
    if (const auto text = stringIn(*reply, QStringLiteral("text")))
        return text->trimmed();
    if (const auto message = nestedError(*reply))
        return badResponse(*message);
    for (const auto& member : {QStringLiteral("msg"), QStringLiteral("message")}) {
        if (const auto message = stringIn(*reply, member))
            return badResponse(*message);
    }
    return badResponse(QStringLiteral("Translation failed (HTTP %1)").arg(response.status));
}

Result<QString> readOpenRouterReply(const HttpResponse& response) {
    if (response.body.isEmpty() && !response.oversized)
        return badResponse(QStringLiteral("Empty response from OpenRouter"));
    const auto reply = parse(response);
    if (!reply)
        return badResponse(QStringLiteral("Unparseable response from OpenRouter"));
    if (const auto message = nestedError(*reply))
        return badResponse(*message);
    if (const auto text = firstChoice(*reply))
        return text->trimmed();
    return badResponse(QStringLiteral("Unexpected response (HTTP %1)").arg(response.status));
}

} // namespace tavrik
