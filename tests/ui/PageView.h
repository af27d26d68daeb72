#pragma once

#include "ui/shell/ViewEngine.h"

#include <QQuickItem>
#include <QQuickView>
#include <QVariant>

namespace tavrik::test {

/// One view of the main window, in a window of its own.
class PageView : public QQuickView {
public:
    /// The engine is to be the process's only one: in a second one Qt 6.8 takes no item for what it is.
    PageView(ViewEngine& engine, const QString& name, HistoryPages& pages, QSize size = {720, 640})
        : QQuickView(&engine, nullptr) {
        setResizeMode(SizeRootObjectToView);
        resize(size);
        setInitialProperties({{QStringLiteral("pages"), QVariant::fromValue(&pages)}});
        setSource(QUrl(QStringLiteral("qrc:/qml/Tavrik/%1.qml").arg(name)));
    }
};

} // namespace tavrik::test
