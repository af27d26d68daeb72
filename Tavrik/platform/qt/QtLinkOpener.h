#pragma once

#include "platform/LinkOpener.h"

namespace tavrik {

/// The handler the desktop has for the link, as Qt finds it.
class QtLinkOpener : public LinkOpener {
public:
    void open(const QUrl& url) override;
};

} // namespace tavrik
