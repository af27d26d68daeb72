#include "account/CallbackUrl.h"

#include "services/HttpClient.h"

#include <QHash>
#include <QStringDecoder>

#include <charconv>
#include <cmath>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

/// Nothing if an escape is malformed or the bytes are not UTF-8.
std::optional<QString> decodeValue(QByteArrayView value) {
    QByteArray bytes;
    bytes.reserve(value.size());
    for (auto next = value.begin(); next != value.end(); ++next) {
        if (*next != '%') {
            bytes += *next == '+' ? ' ' : *next;
            continue;
        }
        if (value.end() - next < 3)
            return std::nullopt;
        quint8 byte = 0;
        if (std::from_chars(next + 1, next + 3, byte, 16).ptr != next + 3)
            return std::nullopt;
        bytes += static_cast<char>(byte);
        next += 2;
    }
    // Keep a leading byte order mark; an incomplete character at the end is an error.
    using Flag = QStringConverter::Flag;
    QStringDecoder decoder(QStringDecoder::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

QHash<QByteArrayView, QString> parseFragment(QByteArrayView fragment) {
    QHash<QByteArrayView, QString> members;
    while (!fragment.isEmpty()) {
        auto end = fragment.indexOf('&');
        if (end < 0)
            end = fragment.size();
        const auto piece = fragment.first(end);
        fragment = fragment.sliced(std::min(end + 1, fragment.size()));

        const auto equals = piece.indexOf('=');
        if (equals < 1 || equals + 1 == piece.size())
            continue;
        const auto key = piece.first(equals);
        if (const auto value = decodeValue(piece.sliced(equals + 1)))
            members.insert(key, *value);
        else
            members.remove(key);
    }
    return members;
}

AuthSession::Seconds parseLifetime(const QString& text) {
    const auto digits = text.toUtf8();
    bool isNumber = false;
    const auto seconds = digits.toDouble(&isNumber);
    const bool valid = isNumber && std::isfinite(seconds) && digits.trimmed() == digits;
    return AuthSession::Seconds(valid ? seconds : 3600);
}

} // namespace

std::optional<Result<CallbackTokens>> parseCallbackUrl(QByteArrayView url) {
    const auto hash = url.indexOf('#');
    if (!url.startsWith("tavrik:") || hash < 0)
        return std::nullopt;
    const auto failed = u"Google sign-in failed."_s;
    const auto members = parseFragment(url.sliced(hash + 1));
    const auto accessToken = members.constFind("access_token");
    const auto refreshToken = members.constFind("refresh_token");
    const bool complete = accessToken != members.constEnd() && refreshToken != members.constEnd();
    if (complete && !isHeaderValue(accessToken->toUtf8()))
        return std::unexpected(Error{failed});
    if (complete)
        return CallbackTokens{*accessToken, *refreshToken, parseLifetime(members.value("expires_in"))};
    const auto error = members.value("error", failed);
    return std::unexpected(Error{members.value("error_description", error)});
}

} // namespace tavrik
