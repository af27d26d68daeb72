#include "services/Endpoints.h"

using namespace Qt::StringLiterals;

namespace tavrik {

Supabase Supabase::builtIn() {
    const auto url = QStringLiteral(TAVRIK_BACKEND_URL);
    Supabase backend{QUrl(url, QUrl::StrictMode), QByteArrayLiteral(TAVRIK_BACKEND_ANON_KEY)};
    if (!url.isEmpty() && !backend.url.isValid())
        qFatal("Not a backend's URL: %s", TAVRIK_BACKEND_URL);
    return backend;
}

HttpHeaders Supabase::headers(const QString& accessToken) const {
    HttpHeaders headers{{"apikey", anonKey}};
    if (!accessToken.isEmpty())
        headers.emplaceBack("Authorization", "Bearer " + accessToken.toUtf8());
    return headers;
}

QUrl Supabase::googleSignInUrl() const {
    return exists() ? endpoint("auth/v1/authorize?provider=google&redirect_to=tavrik://auth-callback")
                    : QUrl();
}

QUrl Supabase::releaseManifestUrl() const {
    return exists() ? endpoint("storage/v1/object/public/releases/version.json") : QUrl();
}

QUrl Supabase::endpoint(const char* pathAndQuery) const {
    return QUrl(url.toString(QUrl::FullyEncoded) + u'/' + QLatin1StringView(pathAndQuery), QUrl::StrictMode);
}

QUrl openRouterEndpoint() {
    return QUrl(u"" TAVRIK_OPENROUTER_URL "/api/v1/chat/completions"_s);
}

} // namespace tavrik
