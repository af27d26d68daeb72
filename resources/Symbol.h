#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace tavrik {

/// Draws one of the program's symbols ("mic.fill") in one colour into a square of `size` pixels. A null image
/// if there is no such symbol. Any thread.
QImage symbolImage(const QString& name, int size, const QColor& colour);

} // namespace tavrik
