#pragma once

#include "ui/shell/ViewEngine.h"

#include <QQuickItem>
#include <QQuickView>
#include <QVariant>

namespace tavrik::test {

/// One view of the main window, in a window of its own. Made after the application.
class PageView : public QQuickView {
public:
    PageView(const QString& name, HistoryPages& pages, QSize size = {720, 640})
        : QQuickView(new ViewEngine, nullptr) {
        engine()->setParent(this);
        setResizeMode(SizeRootObjectToView);
        resize(size);
        setInitialProperties({{QStringLiteral("pages"), QVariant::fromValue(&pages)}});
        setSource(QUrl(QStringLiteral("qrc:/qml/Tavrik/%1.qml").arg(name)));
    }
};

} // namespace tavrik::test
