#pragma once

#include "platform/KeyReader.h"

namespace tavrik {

/// Reads key events as Qt delivers them under X11: an X key code, and the symbol that modifiers made of it.
class X11KeyReader : public KeyReader {
public:
    std::optional<KeyPress> read(const QKeyEvent& event) const override;
};

} // namespace tavrik
