#pragma once

#include "platform/KeyCombination.h"

#include <QString>

#include <optional>

class QKeyEvent;

namespace tavrik {

/// A key press in the encoding of stored shortcuts.
struct KeyPress {
    KeyCombination combination;
    /// What the key types without modifiers other than Shift, or a function key's label. Empty if there is
    /// nothing to show.
    QString characters;

    bool operator==(const KeyPress&) const = default;
};

/// Translates Qt's key events. Main thread only.
class KeyReader {
public:
    KeyReader() = default;
    KeyReader(const KeyReader&) = delete;
    KeyReader& operator=(const KeyReader&) = delete;
    virtual ~KeyReader() = default;

    /// Nothing for a modifier key and for a key without a Mac key code.
    virtual std::optional<KeyPress> read(const QKeyEvent& event) const = 0;
};

} // namespace tavrik
