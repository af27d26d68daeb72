#pragma once

#include "base/Result.h"
#include "services/HttpClient.h"

#include <QString>

namespace tavrik {

/// The translation in the backend's reply, trimmed and possibly empty.
Result<QString> readBackendReply(const HttpResponse& response);

/// The translation in a chat completion, trimmed and possibly empty.
Result<QString> readOpenRouterReply(const HttpResponse& response);

} // namespace tavrik
