#include "ui/hud/Spinner.h"

#include <QPainter>
#include <QPen>

#include <algorithm>

namespace tavrik {

namespace {

constexpr int spokes = 8;
constexpr int stepMilliseconds = 100;

} // namespace

Spinner::Spinner(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void Spinner::setRunning(bool running) {
    if (running == isRunning())
        return;
    if (running)
        m_steps.start(stepMilliseconds, this);
    else
        m_steps.stop();
    Q_EMIT runningChanged();
}

void Spinner::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_steps.timerId())
        return QQuickPaintedItem::timerEvent(event);
    m_step = (m_step + 1) % spokes;
    update();
}

void Spinner::paint(QPainter* painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(width() / 2, height() / 2);
    const double outer = std::min(width(), height()) / 2;
    const double thickness = outer * 0.26;
    for (int i = 0; i < spokes; ++i) {
        // The leading spoke is the brightest; the others fade behind it.
        const int age = (m_step - i + spokes) % spokes;
        auto colour = m_color;
        colour.setAlphaF(std::max(m_color.alphaF() - 0.1F * static_cast<float>(age), 0.2F));
        QPen pen(colour, thickness);
        pen.setCapStyle(Qt::RoundCap);
        painter->setPen(pen);
        painter->save();
        painter->rotate(i * 360.0 / spokes);
        painter->drawLine(QPointF(0, -outer * 0.5), QPointF(0, -outer + thickness / 2));
        painter->restore();
    }
}

} // namespace tavrik
