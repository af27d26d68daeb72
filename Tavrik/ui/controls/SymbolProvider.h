#pragma once

#include <QQuickImageProvider>

namespace tavrik {

/// Serves symbols to views: "image://symbols/NAME/AARRGGBB", drawn at the image's source size.
class SymbolProvider : public QQuickImageProvider {
public:
    SymbolProvider();

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace tavrik
