#pragma once

#include "base/Result.h"
#include "mock-server/Http.h"

namespace tavrik::mock {

/// Reads a list of replies from JSON. Members of each: "path", "status", "headers" (object of strings), one
/// of "body" (string as it is, anything else as JSON), "bodyBase64" and "bodySize" (number or "endless"),
/// "chunked", "closeDelimited", "delayMs", "byteIntervalMs", "ending" ("reset", "close", "stall"),
/// "afterRequestBytes", "afterReplyBytes". Any other member is an error.
Result<QList<ScriptedReply>> parseScript(const QByteArray& json);

} // namespace tavrik::mock
