#include "ui/controls/ShadowProvider.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tavrik {

namespace {

/// The smallest box of which the edges do not feel their opposites, one pixel between its corners.
QImage boxShadow(double corner, double blur) {
    const double deviation = blur / 2;
    const int reach = static_cast<int>(std::ceil(blur * 1.5));
    const int edge = 2 * reach + static_cast<int>(corner);
    const int side = 2 * edge + 1;
    const double halfBox = side / 2.0 - reach;
    // Blurring rounds the corners further.
    const double rounding = corner + deviation;

    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < side; ++x) {
            const double dx = std::abs(x + 0.5 - side / 2.0) - (halfBox - rounding);
            const double dy = std::abs(y + 0.5 - side / 2.0) - (halfBox - rounding);
            const double distance =
                std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) - rounding;
            const double darkness = std::erfc(distance / (deviation * std::numbers::sqrt2)) / 2;
            line[x] = qRgba(0, 0, 0, static_cast<int>(std::lround(255 * darkness)));
        }
    }
    return image;
}

} // namespace

ShadowProvider::ShadowProvider() : QQuickImageProvider(Image) {}

QImage ShadowProvider::requestImage(const QString& id, QSize* size, const QSize&) {
    auto image = boxShadow(id.section(u'/', 0, 0).toDouble(), id.section(u'/', 1, 1).toDouble());
    if (size)
        *size = image.size();
    return image;
}

} // namespace tavrik
