#pragma once

#include "account/AuthSession.h"
#include "base/Result.h"

namespace tavrik {

/// What a sign-in in the browser ends with.
struct CallbackTokens {
    QString accessToken;
    QString refreshToken;
    AuthSession::Seconds lifetime;

    bool operator==(const CallbackTokens&) const = default;
};

/// Reads the URL that the browser opens at the end of a sign-in, from its bytes exactly as they were handed
/// over: tokens, or why there are none, ready to show. Nothing at all if the URL is not one of ours or has no
/// fragment.
std::optional<Result<CallbackTokens>> parseCallbackUrl(QByteArrayView url);

} // namespace tavrik
