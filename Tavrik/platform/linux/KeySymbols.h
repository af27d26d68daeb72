#pragma once

#include <QString>

namespace tavrik {

/// The X name ("space", "k", "F6") of what the key of this Mac key code gives without modifiers on a US
/// keyboard; empty for a code without such a key.
QString keySymbolName(quint32 macKeyCode);

} // namespace tavrik
