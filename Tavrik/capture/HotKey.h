#pragma once

#include "platform/HotKeyBackend.h"

#include <functional>
#include <memory>

namespace tavrik {

class MainQueue;

/// The combination that is held while speaking, registered for as long as this lives. A combination that
/// cannot be registered stays quiet and says so in its status only; one that another program holds is not
/// tried again by itself. Main thread only.
class HotKey : public Service {
public:
    HotKey(HotKeyBackend& backend, MainQueue& queue, KeyCombination combination, PermissionRequest request);

    /// Run on the main queue when the combination goes down. Looked up when the job runs, so that it may be
    /// set at any time; what was queued before this was destroyed still runs.
    void setOnPress(std::function<void()> callback);

    /// Run on the main queue when it comes up, always after its press.
    void setOnRelease(std::function<void()> callback);

    /// Run once on the main queue when the desktop asks the user nothing (any more) about the combination.
    void setOnSettled(std::function<void()> callback);

    ServiceStatus status() const override;

    /// See HotKeyBackend::Registration.
    QString assignedTrigger() const;
    KeyBindings bindings() const;
    bool endsOnSecondPress() const;
    void setRecording(bool recording);

private:
    struct Callbacks {
        std::function<void()> press;
        std::function<void()> release;
        std::function<void()> settled;
    };

    std::shared_ptr<Callbacks> m_callbacks = std::make_shared<Callbacks>();
    std::unique_ptr<HotKeyBackend::Registration> m_registration;
};

} // namespace tavrik
