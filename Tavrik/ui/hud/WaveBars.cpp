#include "ui/hud/WaveBars.h"

#include <QEasingCurve>
#include <QPainter>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>

namespace tavrik {

namespace {

constexpr double barWidth = 2.5;
constexpr double spacing = 3;
constexpr double fullHeight = 16;
constexpr double easeMilliseconds = 70;
/// Two frames a sample: more cannot be told apart on bars this small, and each costs.
constexpr int frameMilliseconds = 25;
/// A difference this small is not drawn. Samples come faster than the easing ends, so it would never quite
/// end.
constexpr double invisible = 0.002;

const QEasingCurve& easeOut() {
    static const QEasingCurve curve = [] {
        QEasingCurve bezier(QEasingCurve::BezierSpline);
        bezier.addCubicBezierSegment({0, 0}, {0.58, 1}, {1, 1});
        return bezier;
    }();
    return curve;
}

} // namespace

WaveBars::WaveBars(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

bool WaveBars::isOnScreen() const {
    return isVisible() && window() && window()->isVisible();
}

void WaveBars::setModel(HUDModel* model) {
    if (m_model == model)
        return;
    if (m_model)
        m_model->disconnect(this);
    m_model = model;
    if (model) {
        connect(model, &HUDModel::levelsChanged, this, &WaveBars::followLevels);
        followLevels();
    }
    Q_EMIT modelChanged();
}

void WaveBars::followLevels() {
    m_levels = m_model->levels();
    if (isOnScreen()) {
        m_from = m_drawn;
        m_sinceChange.start();
        if (!m_frames.isActive())
            m_frames.start(frameMilliseconds, Qt::PreciseTimer, this);
    } else {
        m_frames.stop();
        m_drawn = m_levels;
        update();
    }
}

void WaveBars::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_frames.timerId())
        return QQuickPaintedItem::timerEvent(event);

    const double time = std::min(static_cast<double>(m_sinceChange.elapsed()) / easeMilliseconds, 1.0);
    const double progress = easeOut().valueForProgress(time);
    QList<double> now(m_levels);
    for (qsizetype i = 0; i < now.size(); ++i) {
        const double to = now[i];
        now[i] += (m_from.value(i) - to) * (1 - progress);
        if (std::abs(now[i] - to) < invisible)
            now[i] = to;
    }
    if (now != m_drawn) {
        m_drawn = std::move(now);
        update();
    }
    if (time >= 1)
        m_frames.stop();
}

void WaveBars::paint(QPainter* painter) {
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(m_color);
    const auto count = static_cast<double>(m_drawn.size());
    double x = (width() - count * barWidth - (count - 1) * spacing) / 2;
    for (const double level : std::as_const(m_drawn)) {
        const double barHeight = std::max(barWidth, level * fullHeight);
        painter->drawRoundedRect(QRectF(x, (height() - barHeight) / 2, barWidth, barHeight), barWidth / 2,
                                 barWidth / 2);
        x += barWidth + spacing;
    }
}

} // namespace tavrik
