#pragma once

#include "account/AuthSession.h"
#include "base/Result.h"

namespace tavrik {

/// The tokens of a sign-in in the browser.
struct CallbackTokens {
    QString accessToken;
    QString refreshToken;
    AuthSession::Seconds lifetime;

    bool operator==(const CallbackTokens&) const = default;
};

/// Parses the URL that the browser opens at the end of a sign-in, from its raw bytes: the tokens, or the
/// error to show. Nothing if the URL has another scheme or no fragment.
std::optional<Result<CallbackTokens>> parseCallbackUrl(QByteArrayView url);

} // namespace tavrik
