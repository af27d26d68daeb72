#pragma once

#include "mock-server/HttpMessage.h"

namespace tavrik::backend {

/// The public file that announces the latest release.
class ReleaseManifest {
public:
    static constexpr auto path = "/storage/v1/object/public/releases/version.json";

    /// `file` is read for every request; where it is missing, this program's own version is the latest.
    explicit ReleaseManifest(QString file);

    /// GET.
    Reply answer(const Request& request) const;

private:
    const QString m_file;
};

} // namespace tavrik::backend
