#pragma once

#include "platform/LinkOpener.h"

#include <QList>
#include <QUrl>

namespace tavrik::fake {

/// A browser that only remembers.
class Links : public LinkOpener {
public:
    void open(const QUrl& url) override { opened << url; }
    QList<QUrl> opened;
};

} // namespace tavrik::fake
