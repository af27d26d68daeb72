#include "ui/controls/SymbolProvider.h"

#include "resources/Symbol.h"

namespace tavrik {

namespace {

/// The grid the symbols are drawn on.
constexpr int naturalSize = 24;

} // namespace

SymbolProvider::SymbolProvider() : QQuickImageProvider(Image) {}

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const auto name = id.section(u'/', 0, 0);
    const QColor colour(u'#' + id.section(u'/', 1, 1));
    auto image = symbolImage(name, requestedSize.isEmpty() ? naturalSize : requestedSize.width(), colour);
    if (size)
        *size = image.size();
    return image;
}

} // namespace tavrik
