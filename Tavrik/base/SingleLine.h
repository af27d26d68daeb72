#pragma once

#include <QString>

namespace tavrik {

/// The text with a space in place of every line break and control character. A terminal would take those for
/// keys, and run what comes before a line break as a command.
QString singleLine(QString text);

} // namespace tavrik
