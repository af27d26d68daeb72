#pragma once

#include "platform/KeyCombination.h"

#include <QString>

#include <optional>

class QKeyEvent;

namespace tavrik {

/// A key going down, in the terms in which shortcuts are stored.
struct KeyPress {
    KeyCombination combination;
    /// What the key types without modifiers other than Shift, or what stands on a function key; empty if
    /// there is nothing to show.
    QString characters;

    bool operator==(const KeyPress&) const = default;
};

/// Reads this desktop's key events. Main thread only.
class KeyReader {
public:
    KeyReader() = default;
    KeyReader(const KeyReader&) = delete;
    KeyReader& operator=(const KeyReader&) = delete;
    virtual ~KeyReader() = default;

    /// Nothing for a modifier key, and for a key that has no Mac key code.
    virtual std::optional<KeyPress> read(const QKeyEvent& event) const = 0;
};

} // namespace tavrik
