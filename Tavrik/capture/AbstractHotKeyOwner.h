#pragma once

#include "platform/HotKeyBackend.h"

namespace tavrik {

/// Whoever keeps the hot key registered as the preferences name it. Its status says whether the combination
/// is ours; of no meaning while it is given up. Main thread only.
class AbstractHotKeyOwner : public Service {
public:
    /// Gives the combination up until hotKeyChanged(), so that it can be typed like any other.
    virtual void releaseHotKey() = 0;

    /// The preferences may name another combination: registers it. By the user's request the desktop may ask
    /// them again.
    virtual void hotKeyChanged(PermissionRequest request) = 0;

    /// What the desktop has assigned, in its own words; empty where that is always the combination asked for.
    virtual QString assignedTrigger() const = 0;

    /// What the user must add to the desktop's own configuration; empty where nothing.
    virtual KeyBindings bindings() const = 0;
};

} // namespace tavrik
