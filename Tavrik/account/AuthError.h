#pragma once

#include "base/Error.h"

/// The failures that the account words itself. Servers' and transports' own words are passed on as they are.
namespace tavrik::authError {

inline Error notSignedIn() {
    return {QStringLiteral("Not signed in.")};
}

inline Error sessionExpired() {
    return {QStringLiteral("Your session expired — please sign in again.")};
}

inline Error unexpectedReply() {
    return {QStringLiteral("Unexpected response from the auth server.")};
}

inline Error signInFailed(int status) {
    return {QStringLiteral("Sign-in failed (HTTP %1)").arg(status)};
}

inline Error googleFailed() {
    return {QStringLiteral("Google sign-in failed.")};
}

inline Error noBackend() {
    return {QStringLiteral("This build of Tavrik has no server to sign in to.")};
}

} // namespace tavrik::authError
