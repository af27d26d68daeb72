#pragma once

#include <QString>

namespace tavrik {

struct KeyPress;

/// A shortcut as it is shown to the user and stored beside its codes: "⌃⇧ K".
QString shortcutText(const KeyPress& press);

} // namespace tavrik
