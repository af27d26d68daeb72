#pragma once

#include "services/HttpClient.h"

namespace tavrik {

/// Where the hosted backend is, and the key that opens it to this program.
struct Supabase {
    /// Scheme and host; empty where there is no backend.
    QUrl url;
    /// Public: the same for every user.
    QByteArray anonKey;

    /// The backend this program was built for, if any.
    static Supabase builtIn();

    bool exists() const { return !url.isEmpty(); }

    /// `path` may carry a query; it is joined to the base as it is.
    QUrl endpoint(const QString& path) const;

    /// The browser's page for signing in with a Google account; empty where there is no backend.
    QUrl googleSignInURL() const;

    /// What every request carries, and with a token what one on the user's behalf does.
    decltype(HttpRequest::headers) headers(const QString& accessToken = {}) const;
};

} // namespace tavrik
