#pragma once

#include <QString>
#include <QUrl>

#include <optional>

class QByteArray;

namespace tavrik {

/// A release as its manifest describes it.
struct Release {
    QString version;
    /// Where a person can fetch it: a web page, nothing else.
    QUrl url;
    /// What is new; may be empty.
    QString notes;
};

/// Reads the manifest, a JSON object with "version", "url" and perhaps "notes". Nothing when it is not as it
/// must be.
std::optional<Release> readReleaseManifest(const QByteArray& json);

} // namespace tavrik
