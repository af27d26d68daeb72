#pragma once

#include "capture/AbstractHotKeyOwner.h"
#include "capture/HotKey.h"

#include <functional>
#include <memory>
#include <optional>

namespace tavrik {

class MainQueue;
class Settings;

/// Keeps the hot key registered as the preferences name it, from registerHotKey() on. Main thread.
class HotKeyRegistrar final : public AbstractHotKeyOwner {
public:
    /// All outlive the registrar.
    HotKeyRegistrar(HotKeyBackend& backend, MainQueue& queue, const Settings& settings);

    /// Run on the main queue at each press and at each release; set before registerHotKey().
    void setOnPress(std::function<void()> callback) { m_onPress = std::move(callback); }
    void setOnRelease(std::function<void()> callback) { m_onRelease = std::move(callback); }

    /// Drops the hot key and registers the one the preferences name. `settled` is run once from the main
    /// queue, when the desktop asks the user nothing (any more) about it; not if it is dropped before.
    void registerHotKey(PermissionRequest request, std::function<void()> settled = {});

    /// Drops the hot key for good.
    void stop();

    /// While a recording runs the registration stays, since the release of its key must arrive; what was
    /// asked meanwhile is done at its end.
    void setRecording(bool recording);

    /// The preferences were edited, or the user hopes that the combination has become free: registers again
    /// if they name another combination, or the hot key does not work. Does nothing while it is released.
    void refresh();

    void releaseHotKey() override;
    void hotKeyChanged(PermissionRequest request) override;
    ServiceStatus status() const override;
    QString assignedTrigger() const override;
    KeyBindings bindings() const override;
    bool endsOnSecondPress() const;

private:
    HotKeyBackend& m_backend;
    MainQueue& m_queue;
    const Settings& m_settings;
    std::function<void()> m_onPress;
    std::function<void()> m_onRelease;
    /// Null before the launch, and while it is released.
    std::unique_ptr<HotKey> m_hotKey;
    KeyCombination m_combination;
    QString m_display;
    bool m_isRecording = false;
    /// To be registered anew at the recording's end.
    std::optional<PermissionRequest> m_stale;
};

} // namespace tavrik
