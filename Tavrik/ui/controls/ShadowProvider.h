#pragma once

#include <QQuickImageProvider>

namespace tavrik {

/// Serves the soft shadow of a rounded box to views: "image://shadows/CORNER/BLUR", black, to be stretched
/// between its corners. It reaches one and a half times the blur beyond the box.
class ShadowProvider : public QQuickImageProvider {
public:
    ShadowProvider();

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace tavrik
