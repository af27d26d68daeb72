#pragma once

#include <QBasicTimer>
#include <QQuickItem>

namespace tavrik {

/// Shows a tooltip, in a window of its own, once the pointer has rested over this item.
class ToolTipArea : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text MEMBER m_text NOTIFY textChanged)
    Q_PROPERTY(bool hovered READ isHovered WRITE setHovered NOTIFY hoveredChanged)

public:
    using QQuickItem::QQuickItem;

    bool isHovered() const { return m_hovered; }
    void setHovered(bool hovered);

Q_SIGNALS:
    void textChanged();
    void hoveredChanged();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void followWindow(bool visible);

    QString m_text;
    bool m_hovered = false;
    QBasicTimer m_rest;
};

} // namespace tavrik
