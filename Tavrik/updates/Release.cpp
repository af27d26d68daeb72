#include "updates/Release.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace tavrik {

std::optional<Release> readReleaseManifest(const QByteArray& json) {
    const auto manifest = QJsonDocument::fromJson(json).object();
    const auto version = manifest.value(QStringLiteral("version"));
    const auto link = manifest.value(QStringLiteral("url"));
    if (!version.isString() || !link.isString())
        return std::nullopt;
    // Only a web page can be opened safely on the word of a server.
    const QUrl url(link.toString(), QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty() ||
        (url.scheme() != QStringLiteral("https") && url.scheme() != QStringLiteral("http")))
        return std::nullopt;
    return Release{version.toString(), url, manifest.value(QStringLiteral("notes")).toString()};
}

} // namespace tavrik
