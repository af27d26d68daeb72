#pragma once

#include <QString>
#include <QUrl>

#include <optional>

class QByteArray;

namespace tavrik {

/// A release, as described by its manifest.
struct Release {
    QString version;
    /// The download page; always http or https.
    QUrl url;
    /// Release notes; may be empty.
    QString notes;
};

/// Parses the manifest, a JSON object with "version", "url" and optionally "notes". Nothing if it is invalid.
std::optional<Release> readReleaseManifest(const QByteArray& json);

} // namespace tavrik
