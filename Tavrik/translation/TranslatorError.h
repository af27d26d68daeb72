#pragma once

#include "base/Error.h"

namespace tavrik {

/// The translator's own errors; those of the file, the network and the account pass through as they are.
namespace TranslatorError {

/// The service's reply is of no use; the message says why and is shown unchanged.
inline Error badResponse(const QString& message) {
    return {message};
}

/// Neither a session nor a key of the user's own.
inline Error notSignedIn() {
    return {QStringLiteral("Sign in first: menubar icon \u2192 Open Tavrik.")};
}

} // namespace TranslatorError

} // namespace tavrik
