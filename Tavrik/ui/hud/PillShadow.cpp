#include "ui/hud/PillShadow.h"

#include <QPainter>
#include <QRadialGradient>

#include <cmath>
#include <numbers>

namespace tavrik {

namespace {

constexpr double darkness = 0.18;
constexpr double blurRadius = 22;
constexpr double offset = 8;
constexpr double deviation = blurRadius / 2;

/// How dark a strip of the given half height is at a distance from its middle line, once blurred: 0 to 1.
double blurredStrip(double distance, double halfHeight) {
    const auto edge = [](double x) {
        return std::erf(x / (deviation * std::numbers::sqrt2));
    };
    return (edge(halfHeight - distance) + edge(halfHeight + distance)) / 2;
}

} // namespace

PillShadow::PillShadow(QQuickItem* parent) : QQuickPaintedItem(parent) {}

void PillShadow::setCapsule(const QRectF& capsule) {
    if (m_capsule == capsule)
        return;
    m_capsule = capsule;
    update();
    Q_EMIT capsuleChanged();
}

void PillShadow::paint(QPainter* painter) {
    const double halfHeight = m_capsule.height() / 2;
    const double reach = halfHeight + 2.5 * deviation;
    const auto fillWith = [&](auto gradient, const QRectF& area) {
        for (int i = 0; i <= 32; ++i) {
            const double at = i / 32.0;
            gradient.setColorAt(
                at, QColor::fromRgbF(0, 0, 0,
                                     static_cast<float>(darkness * blurredStrip(at * reach, halfHeight))));
        }
        painter->fillRect(area, gradient);
    };

    // The middle fades upwards and downwards, each end like a disc round the centre of the capsule's own end.
    const QPointF left(m_capsule.left() + halfHeight, m_capsule.center().y() + offset);
    const QPointF right(m_capsule.right() - halfHeight, left.y());
    QLinearGradient strip(left, left + QPointF(0, reach));
    strip.setSpread(QGradient::ReflectSpread);
    fillWith(strip, QRectF(left - QPointF(0, reach), right + QPointF(0, reach)));
    fillWith(QRadialGradient(left, reach), QRectF(left.x() - reach, left.y() - reach, reach, 2 * reach));
    fillWith(QRadialGradient(right, reach), QRectF(right.x(), right.y() - reach, reach, 2 * reach));
}

} // namespace tavrik
