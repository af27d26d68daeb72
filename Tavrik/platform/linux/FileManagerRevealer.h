#pragma once

#include "platform/FolderRevealer.h"

namespace tavrik {

class LinkOpener;

/// Asks the desktop's file manager over the session bus; where there is none, the folder is opened like a
/// link.
class FileManagerRevealer : public FolderRevealer {
public:
    /// `links` must outlive this, and the event loop.
    explicit FileManagerRevealer(LinkOpener& links) : m_links(links) {}

    void reveal(const QString& folder) override;

private:
    LinkOpener& m_links;
};

} // namespace tavrik
