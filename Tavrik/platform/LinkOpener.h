#pragma once

class QUrl;

namespace tavrik {

/// Opens links in the user's browser. Main thread only.
class LinkOpener {
public:
    LinkOpener() = default;
    LinkOpener(const LinkOpener&) = delete;
    LinkOpener& operator=(const LinkOpener&) = delete;
    virtual ~LinkOpener() = default;

    /// Returns at once; failures are silent.
    virtual void open(const QUrl& url) = 0;
};

} // namespace tavrik
