#pragma once

#include "base/Result.h"
#include "platform/PermissionRequest.h"
#include "platform/Service.h"

#include <functional>

namespace tavrik {

/// The shortcut that pastes, sent to the focused window as if typed. Main thread only.
class PasteKeys : public Service {
public:
    /// Asks the user for the permission to send keys, where the desktop wants one and it is not given.
    /// `answered` is called once, on the main thread, perhaps within this call, when nothing is asked (any
    /// more); the status tells the answer. The backend remembers that it has asked.
    virtual void requestPermission(PermissionRequest request, std::function<void()> answered) = 0;

    /// Sends the keys, at once when no modifier is held, else as soon as the user has let go (within a
    /// bound). The completion is called once, on the main thread, perhaps within this call: when the keys
    /// were sent, or with the reason, a sentence for the user, why they were not.
    virtual void sendPaste(Completion<void> completion) = 0;
};

} // namespace tavrik
