#pragma once

#include "platform/Service.h"

namespace tavrik {

/// Whoever keeps the hot key registered as the preferences name it. Its status says whether the combination
/// is ours; of no meaning while it is given up. Main thread only.
class AbstractHotKeyOwner : public Service {
public:
    /// Gives the combination up until hotKeyChanged(), so that it can be typed like any other.
    virtual void releaseHotKey() = 0;

    /// The preferences may name another combination: registers it.
    virtual void hotKeyChanged() = 0;
};

} // namespace tavrik
