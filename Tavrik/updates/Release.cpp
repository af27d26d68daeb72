#include "updates/Release.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace tavrik {

std::optional<Release> readReleaseManifest(const QByteArray& json) {
    const auto manifest = QJsonDocument::fromJson(json).object();
    const auto version = manifest.value(u"version"_s);
    const auto link = manifest.value(u"url"_s);
    if (!version.isString() || !link.isString())
        return std::nullopt;
    // Opening anything but a web page could run a local program.
    const QUrl url(link.toString(), QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty() || (url.scheme() != u"https"_s && url.scheme() != u"http"_s))
        return std::nullopt;
    return Release{version.toString(), url, manifest.value(u"notes"_s).toString()};
}

} // namespace tavrik
