#pragma once

#include <QJSValue>
#include <QQuickItem>

namespace tavrik {

/// A menu in the desktop's style and a window of its own, as the one in the tray is. Main thread only.
class PopupMenu : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// Opens the menu at a point of `item`. An entry is {text, enabled, run}: `run` is called without
    /// arguments once the user has chosen it.
    Q_INVOKABLE void open(QQuickItem* item, const QPointF& at, const QJSValue& entries);
};

} // namespace tavrik
