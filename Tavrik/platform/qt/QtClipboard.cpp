#include "platform/qt/QtClipboard.h"

#include "base/SingleLine.h"

#include <QClipboard>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace tavrik {

ServiceStatus QtClipboard::status() const {
    return {u"Qt, "_s + QGuiApplication::platformName(), true};
}

void QtClipboard::setText(const QString& text) {
    QGuiApplication::clipboard()->setText(text);
}

void QtClipboard::offerAsSelection() {
    auto* clipboard = QGuiApplication::clipboard();
    if (clipboard->supportsSelection() && clipboard->ownsClipboard())
        clipboard->setText(singleLine(clipboard->text()), QClipboard::Selection);
}

} // namespace tavrik
