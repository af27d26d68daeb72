#include "services/Supabase.h"

#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace tavrik {

Supabase Supabase::builtIn() {
    const auto url = QStringLiteral(TAVRIK_BACKEND_URL);
    Supabase backend{QUrl(url, QUrl::StrictMode), QByteArrayLiteral(TAVRIK_BACKEND_ANON_KEY)};
    if (!url.isEmpty() && !backend.url.isValid())
        qFatal("Not a backend's URL: %s", TAVRIK_BACKEND_URL);
    return backend;
}

QUrl Supabase::endpoint(const QString& path) const {
    return QUrl(url.toString(QUrl::FullyEncoded) + u'/' + path, QUrl::StrictMode);
}

QUrl Supabase::googleSignInURL() const {
    if (!exists())
        return {};
    QUrlQuery query;
    query.addQueryItem(u"provider"_s, u"google"_s);
    query.addQueryItem(u"redirect_to"_s, u"tavrik://auth-callback"_s);
    auto page = endpoint(u"auth/v1/authorize"_s);
    page.setQuery(query);
    return page;
}

decltype(HttpRequest::headers) Supabase::headers(const QString& accessToken) const {
    decltype(HttpRequest::headers) headers{{"apikey", anonKey}};
    if (!accessToken.isEmpty())
        headers.emplaceBack("Authorization", "Bearer " + accessToken.toUtf8());
    return headers;
}

} // namespace tavrik
