#pragma once

#include "platform/KeyCombination.h"
#include "platform/PermissionRequest.h"
#include "platform/Service.h"

#include <functional>
#include <memory>

namespace tavrik {

/// What the user must add to the desktop's own configuration for a key to arrive.
struct KeyBindings {
    /// Where it belongs: a sentence for the user.
    QString place;
    QString lines;
};

/// Grabs one key combination for the whole desktop. Its own status says whether it can grab keys at all. Main
/// thread only.
class HotKeyBackend : public Service {
public:
    /// Called on the main thread, straight from the event that caused them. A hold is one press and one
    /// release; a hold that can no longer be followed is released.
    /// None of them is null.
    struct Handlers {
        std::function<void()> pressed;
        std::function<void()> released;
        /// Called once, perhaps within registerHotKey(), when the desktop asks the user nothing (any more)
        /// about the registration. Not called after the registration is gone.
        std::function<void()> settled;
    };

    /// A combination that stays grabbed until this is destroyed. Its status says whether it is; that may
    /// change with the keyboard's map, or when the desktop's service goes.
    class Registration : public Service {
    public:
        /// What the desktop has assigned, in its own words ("Press Ctrl+Alt+Space"); empty where that is
        /// always the combination asked for. statusChanged() tells of a change.
        virtual QString assignedTrigger() const { return {}; }

        /// Empty unless nothing arrives before the user has done something.
        virtual KeyBindings bindings() const { return {}; }

        /// Whether the desktop tells of presses only, and a second one is taken as the release.
        virtual bool endsOnSecondPress() const { return false; }

        /// Tells whether a recording runs, which a second press may end.
        virtual void setRecording(bool recording) { Q_UNUSED(recording) }
    };

    /// Never fails: a registration that could not be made says so in its status and delivers nothing.
    virtual std::unique_ptr<Registration> registerHotKey(KeyCombination combination,
                                                         PermissionRequest request, Handlers handlers) = 0;
};

} // namespace tavrik
