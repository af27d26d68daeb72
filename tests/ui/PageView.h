#pragma once

#include "ui/shell/ViewEngine.h"

#include <QQuickItem>
#include <QQuickView>
#include <QVariant>

void qml_register_types_Tavrik();

namespace tavrik::test {

/// One view of the main window, in a window of its own. Made after the application.
class PageView : public QQuickView {
public:
    PageView(const QString& name, HistoryPages& pages, QSize size = {720, 640})
        : QQuickView(new ViewEngine, nullptr) {
        engine()->setParent(this);
        qml_register_types_Tavrik();
        setResizeMode(SizeRootObjectToView);
        resize(size);
        setInitialProperties({{QStringLiteral("pages"), QVariant::fromValue(&pages)}});
        setSource(QUrl(QStringLiteral("qrc:/qml/Tavrik/%1.qml").arg(name)));
    }

    /// The first item of a C++ type, or null.
    QQuickItem* find(const char* type) const { return findIn(*contentItem(), type); }

private:
    static QQuickItem* findIn(const QQuickItem& parent, const char* type) {
        for (auto* item : parent.childItems()) {
            if (item->inherits(type))
                return item;
            if (auto* found = findIn(*item, type))
                return found;
        }
        return nullptr;
    }
};

} // namespace tavrik::test
