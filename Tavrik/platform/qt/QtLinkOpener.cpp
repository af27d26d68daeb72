#include "platform/qt/QtLinkOpener.h"

#include <QDesktopServices>

namespace tavrik {

void QtLinkOpener::open(const QUrl& url) {
    QDesktopServices::openUrl(url);
}

} // namespace tavrik
