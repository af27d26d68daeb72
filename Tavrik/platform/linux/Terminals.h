#pragma once

#include <QByteArrayList>

namespace tavrik {

/// Whether one of the names, those of WM_CLASS or a Wayland application id, is a terminal's. Terminals keep
/// Control+V for the program inside. Their own shortcuts differ, and depend on the layout, but all of them
/// paste on Shift+Insert: some the clipboard, most the selection.
bool isTerminal(const QByteArrayList& names);

} // namespace tavrik
