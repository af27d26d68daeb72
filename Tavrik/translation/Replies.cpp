#include "translation/Replies.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

std::unexpected<Error> badResponse(const QString& message) {
    return std::unexpected(Error{message});
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
    return stringIn(reply.value(u"error"_s).toObject(), u"message"_s);
}

/// The text of the first choice; nothing unless all choices are objects.
std::optional<QString> firstChoice(const QJsonObject& reply) {
    const auto choices = reply.value(u"choices"_s).toArray();
    if (choices.isEmpty() || !std::all_of(choices.begin(), choices.end(),
                                          [](const QJsonValue& choice) { return choice.isObject(); }))
        return std::nullopt;
    return stringIn(choices.first().toObject().value(u"message"_s).toObject(), u"content"_s);
}

} // namespace

Result<QString> readBackendReply(const HttpResponse& response) {
    const auto reply = parse(response);
    if (!reply)
        return badResponse(u"Unparseable response from the Tavrik server"_s);
    if (const auto text = stringIn(*reply, u"text"_s))
        return text->trimmed();
    if (const auto message = nestedError(*reply))
        return badResponse(*message);
    for (const auto& member : {u"msg"_s, u"message"_s}) {
        if (const auto message = stringIn(*reply, member))
            return badResponse(*message);
    }
    return badResponse(u"Translation failed (HTTP %1)"_s.arg(response.status));
}

Result<QString> readOpenRouterReply(const HttpResponse& response) {
    if (response.body.isEmpty() && !response.oversized)
        return badResponse(u"Empty response from OpenRouter"_s);
    const auto reply = parse(response);
    if (!reply)
        return badResponse(u"Unparseable response from OpenRouter"_s);
    if (const auto message = nestedError(*reply))
        return badResponse(*message);
    if (const auto text = firstChoice(*reply))
        return text->trimmed();
    return badResponse(u"Unexpected response (HTTP %1)"_s.arg(response.status));
}

} // namespace tavrik
