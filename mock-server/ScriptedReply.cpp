#include "mock-server/ScriptedReply.h"

#include <QHash>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

namespace {

std::optional<QByteArray> text(const QJsonValue& value) {
    return value.isString() ? std::optional(value.toString().toUtf8()) : std::nullopt;
}

std::optional<qint64> count(const QJsonValue& value) {
    const auto number = value.toInteger(-1);
    return number >= 0 ? std::optional(number) : std::nullopt;
}

std::optional<ScriptedReply::Ending> ending(const QJsonValue& value) {
    static const QHash<QString, ScriptedReply::Ending> names{
        {u"reset"_s, ScriptedReply::Ending::Reset},
        {u"close"_s, ScriptedReply::Ending::Close},
        {u"stall"_s, ScriptedReply::Ending::Stall},
    };
    const auto found = names.constFind(value.toString());
    return found != names.constEnd() ? std::optional(*found) : std::nullopt;
}

QByteArray bodyBytes(const QJsonValue& value) {
    if (value.isString())
        return value.toString().toUtf8();
    // A document holds only arrays and objects; any other value is written within one.
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).sliced(1).chopped(1);
}

template<class Target, class Value>
bool assign(Target& target, std::optional<Value> value) {
    if constexpr (std::is_same_v<Target, std::optional<Value>>)
        target = value;
    else if (value)
        target = Target(*value);
    return value.has_value();
}

bool setHeaders(Headers& headers, const QJsonValue& value) {
    const auto object = value.toObject();
    for (auto header = object.begin(); header != object.end(); ++header)
        headers.emplaceBack(header.key().toUtf8(), header->toString().toUtf8());
    return value.isObject();
}

bool setMember(ScriptedReply& scripted, const QString& name, const QJsonValue& value) {
    if (name == u"path")
        return assign(scripted.path, text(value));
    if (name == u"status")
        return assign(scripted.reply.status, count(value));
    if (name == u"headers")
        return setHeaders(scripted.reply.headers, value);
    if (name == u"body")
        return assign(scripted.reply.body, std::optional(bodyBytes(value)));
    if (name == u"bodyBase64")
        return assign(scripted.reply.body,
                      std::optional(QByteArray::fromBase64(value.toString().toLatin1())));
    if (name == u"bodySize")
        return assign(scripted.bodySize,
                      value.toString() == u"endless" ? ScriptedReply::endless : count(value));
    if (name == u"chunked")
        return assign(scripted.chunked, std::optional(value.toBool()));
    if (name == u"closeDelimited")
        return assign(scripted.closeDelimited, std::optional(value.toBool()));
    if (name == u"delayMs")
        return assign(scripted.delay, count(value));
    if (name == u"byteIntervalMs")
        return assign(scripted.byteInterval, count(value));
    if (name == u"ending")
        return assign(scripted.ending, ending(value));
    if (name == u"afterRequestBytes")
        return assign(scripted.afterRequestBytes, count(value));
    if (name == u"afterReplyBytes")
        return assign(scripted.afterReplyBytes, count(value));
    return false;
}

} // namespace

Result<QList<ScriptedReply>> parseScript(const QByteArray& json) {
    const auto document = QJsonDocument::fromJson(json);
    if (!document.isArray())
        return std::unexpected(Error{u"A script is a JSON array of replies"_s});
    QList<ScriptedReply> replies;
    for (const auto list = document.array(); const auto& entry : list) {
        const auto object = entry.toObject();
        ScriptedReply scripted;
        for (auto member = object.begin(); member != object.end(); ++member) {
            if (!setMember(scripted, member.key(), *member))
                return std::unexpected(Error{u"Not usable in a script: %1"_s.arg(member.key())});
        }
        replies.append(scripted);
    }
    return replies;
}

} // namespace tavrik::backend
