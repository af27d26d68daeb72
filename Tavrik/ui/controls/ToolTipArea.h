#pragma once

#include <QBasicTimer>
#include <QColor>
#include <QQuickItem>

#include <memory>

class QWidget;

namespace tavrik {

/// Shows a tooltip, in a window of its own, once the pointer has rested over this item.
class ToolTipArea : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text MEMBER m_text NOTIFY textChanged)
    Q_PROPERTY(bool hovered READ isHovered WRITE setHovered NOTIFY hoveredChanged)
    /// Of the tooltip, its text and its edge.
    Q_PROPERTY(QColor fill MEMBER m_fill NOTIFY coloursChanged)
    Q_PROPERTY(QColor ink MEMBER m_ink NOTIFY coloursChanged)
    Q_PROPERTY(QColor edge MEMBER m_edge NOTIFY coloursChanged)

public:
    explicit ToolTipArea(QQuickItem* parent = nullptr);
    ~ToolTipArea() override;

    bool isHovered() const { return m_hovered; }
    void setHovered(bool hovered);

Q_SIGNALS:
    void textChanged();
    void hoveredChanged();
    void coloursChanged();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void followWindow(bool visible);

    QString m_text;
    QColor m_fill;
    QColor m_ink;
    QColor m_edge;
    bool m_hovered = false;
    QBasicTimer m_rest;
    /// Never shown: the tooltip takes its style from it, and goes with it.
    std::unique_ptr<QWidget> m_style;
};

} // namespace tavrik
