#pragma once

#include "base/Result.h"
#include "mock-server/HttpMessage.h"

#include <QJsonArray>

#include <limits>

namespace tavrik::backend {

/// A reply laid down in advance, with whatever is to go wrong.
struct ScriptedReply {
    enum class Ending {
        Complete,
        /// A TCP reset.
        Reset,
        /// An orderly end of the connection.
        Close,
        /// Silence on an open connection; the request is read no further.
        Stall,
    };

    static constexpr qint64 endless = std::numeric_limits<qint64>::max();

    /// The only path it is for; empty for any.
    QByteArray path = {};
    Reply reply = {};
    /// Send this many filler bytes as the body instead of the reply's own; `endless` needs `chunked` or
    /// `closeDelimited`.
    std::optional<qint64> bodySize = {};
    bool chunked = false;
    /// Announce no length and end the body by closing the connection.
    bool closeDelimited = false;
    /// Between the end of the request and the reply.
    std::chrono::milliseconds delay{0};
    /// When not zero, the body goes out one byte at a time, this far apart.
    std::chrono::milliseconds byteInterval{0};

    /// What happens in place of the rest, once these many bytes of the request's body have been read or these
    /// many of the reply's body have been sent; with neither, once the request has been read, before any
    /// reply.
    Ending ending = Ending::Complete;
    std::optional<qint64> afterRequestBytes = {};
    std::optional<qint64> afterReplyBytes = {};
};

/// Reads a list of replies from JSON. Members of each: "path", "status", "headers" (object of strings), one
/// of "body" (string as it is, anything else as JSON), "bodyBase64" and "bodySize" (number or "endless"),
/// "chunked", "closeDelimited", "delayMs", "byteIntervalMs", "ending" ("reset", "close", "stall"),
/// "afterRequestBytes", "afterReplyBytes". Any other member is an error.
Result<QList<ScriptedReply>> parseScript(const QByteArray& json);

} // namespace tavrik::backend
