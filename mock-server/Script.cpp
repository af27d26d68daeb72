#include "mock-server/Script.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

namespace {

using Ending = ScriptedReply::Ending;

QByteArray bodyBytes(const QJsonValue& value) {
    if (value.isString())
        return value.toString().toUtf8();
    // A document holds only arrays and objects; any other value is written within one.
    return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).sliced(1).chopped(1);
}

Headers headers(const QJsonObject& object) {
    Headers headers;
    for (auto header = object.begin(); header != object.end(); ++header)
        headers.emplaceBack(header.key().toUtf8(), header->toString().toUtf8());
    return headers;
}

/// False for an unknown name or a value of the wrong type.
bool setMember(ScriptedReply& scripted, const QString& name, const QJsonValue& value) {
    static const QHash<QString, Ending> endings{
        {u"reset"_s, Ending::reset}, {u"close"_s, Ending::close}, {u"stall"_s, Ending::stall}};
    const auto text = value.toString();
    const auto number = value.toInteger(-1);
    const std::chrono::milliseconds time(number);
    const auto set = [](auto& member, auto&& newValue, bool valid) {
        if (valid)
            member = newValue;
        return valid;
    };
    if (name == u"path")
        return set(scripted.path, text.toUtf8(), value.isString());
    if (name == u"status")
        return set(scripted.reply.status, static_cast<int>(number), number >= 0);
    if (name == u"headers")
        return set(scripted.reply.headers, headers(value.toObject()), value.isObject());
    if (name == u"body")
        return set(scripted.reply.body, bodyBytes(value), true);
    if (name == u"bodyBase64")
        return set(scripted.reply.body, QByteArray::fromBase64(text.toLatin1()), value.isString());
    if (name == u"bodySize" && text == u"endless")
        return set(scripted.bodySize, ScriptedReply::endless, true);
    if (name == u"bodySize")
        return set(scripted.bodySize, number, number >= 0);
    if (name == u"chunked")
        return set(scripted.chunked, value.toBool(), value.isBool());
    if (name == u"closeDelimited")
        return set(scripted.closeDelimited, value.toBool(), value.isBool());
    if (name == u"delayMs")
        return set(scripted.delay, time, number >= 0);
    if (name == u"byteIntervalMs")
        return set(scripted.byteInterval, time, number >= 0);
    if (name == u"ending")
        return set(scripted.ending, endings.value(text), endings.contains(text));
    if (name == u"afterRequestBytes")
        return set(scripted.afterRequestBytes, number, number >= 0);
    if (name == u"afterReplyBytes")
        return set(scripted.afterReplyBytes, number, number >= 0);
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

} // namespace tavrik::mock
