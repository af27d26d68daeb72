#pragma once

#include "platform/HotKeyBackend.h"

namespace tavrik {

/// Whoever keeps the hot key registered as the preferences name it. Main thread only.
class AbstractHotKeyOwner {
public:
    AbstractHotKeyOwner() = default;
    AbstractHotKeyOwner(const AbstractHotKeyOwner&) = delete;
    AbstractHotKeyOwner& operator=(const AbstractHotKeyOwner&) = delete;
    virtual ~AbstractHotKeyOwner() = default;

    /// Gives the combination up until hotKeyChanged(), so that it can be typed like any other.
    virtual void releaseHotKey() = 0;

    /// The preferences may name another combination: registers it, and shows it wherever it is shown.
    virtual void hotKeyChanged() = 0;

    /// Whether the combination is ours. Of no meaning while it is given up.
    virtual HotKeyBackend::Status hotKeyStatus() const = 0;
};

} // namespace tavrik
