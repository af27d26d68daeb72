#pragma once

#include "services/HttpClient.h"

// The address of every service and the path of every request. Fixed when the program is built.
namespace tavrik {

/// The hosted backend.
struct Supabase {
    /// Scheme and host; empty in a build without a backend.
    QUrl url;
    /// The backend's public key, the same for every user.
    QByteArray anonKey;

    /// The backend this program was built for, if any.
    static Supabase builtIn();

    bool exists() const { return !url.isEmpty(); }

    /// The headers of every request, and with a token those of one on the user's behalf.
    HttpHeaders headers(const QString& accessToken = {}) const;

    QUrl passwordSignInUrl() const { return endpoint("auth/v1/token?grant_type=password"); }
    QUrl refreshUrl() const { return endpoint("auth/v1/token?grant_type=refresh_token"); }
    QUrl signUpUrl() const { return endpoint("auth/v1/signup"); }
    QUrl userUrl() const { return endpoint("auth/v1/user"); }
    QUrl translateUrl() const { return endpoint("functions/v1/translate"); }

    /// The browser page for signing in with a Google account; empty without a backend.
    QUrl googleSignInUrl() const;

    /// The file that announces the latest release; empty without a backend.
    QUrl releaseManifestUrl() const;

private:
    QUrl endpoint(const char* pathAndQuery) const;
};

/// The chat-completions service, for users with a key of their own.
QUrl openRouterEndpoint();

} // namespace tavrik
