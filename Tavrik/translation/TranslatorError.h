#pragma once

#include "base/Error.h"

namespace tavrik {

/// What can go wrong in a translation, beside the errors of files, transport and account.
struct TranslatorError {
    /// The service's reply cannot be used; `message` is shown as it is.
    static Error badResponse(const QString& message) { return {message}; }

    /// Nobody is signed in and there is no key of the user's own.
    static Error notSignedIn() { return {QStringLiteral("Sign in first: menubar icon → Open Tavrik.")}; }
};

} // namespace tavrik
