#include "resources/Symbol.h"

#include <QPainter>
#include <QSvgRenderer>

namespace tavrik {

QImage symbolImage(const QString& name, int size, const QColor& colour) {
    QSvgRenderer renderer(QStringLiteral(":/tavrik/icons/%1.svg").arg(name));
    if (!renderer.isValid())
        return {};

    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    return image;
}

} // namespace tavrik
