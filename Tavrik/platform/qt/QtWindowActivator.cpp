#include "platform/qt/QtWindowActivator.h"

#include <QByteArray>
#include <QWindow>

namespace tavrik {

void QtWindowActivator::activate(QWindow& window, const QByteArray& activationToken) {
    // Where Qt's Wayland plugin looks for it.
    if (!activationToken.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", activationToken);
    window.raise();
    window.requestActivate();
}

} // namespace tavrik
