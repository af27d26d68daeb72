#include "ui/controls/ToolTipArea.h"

#include <QApplication>
#include <QQuickWindow>
#include <QStyle>
#include <QToolTip>
#include <QWidget>

#include <utility>

namespace tavrik {

using namespace Qt::StringLiterals;

ToolTipArea::ToolTipArea(QQuickItem* parent) : QQuickItem(parent) {}

ToolTipArea::~ToolTipArea() = default;

void ToolTipArea::setHovered(bool hovered) {
    if (std::exchange(m_hovered, hovered) == hovered)
        return;
    if (hovered) {
        m_rest.start(QApplication::style()->styleHint(QStyle::SH_ToolTip_WakeUpDelay), this);
        connect(window(), &QWindow::visibleChanged, this, &ToolTipArea::followWindow, Qt::UniqueConnection);
    } else {
        m_rest.stop();
        QToolTip::hideText();
    }
    Q_EMIT hoveredChanged();
}

/// A window that is hidden under the pointer is not told that the pointer has left.
void ToolTipArea::followWindow(bool visible) {
    if (!visible)
        setHovered(false);
}

void ToolTipArea::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_rest.timerId())
        return QQuickItem::timerEvent(event);
    m_rest.stop();
    m_style = std::make_unique<QWidget>();
    m_style->setStyleSheet(u"QToolTip { background: %1; color: %2; border: 1px solid %3; padding: 1px 2px; "
                           "font-size: 12px }"_s.arg(m_fill.name(), m_ink.name(), m_edge.name()));
    QToolTip::showText(mapToGlobal(QPointF(width() / 2, height())).toPoint(), m_text, m_style.get());
}

} // namespace tavrik
