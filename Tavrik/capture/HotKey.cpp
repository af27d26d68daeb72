#include "capture/HotKey.h"

#include "base/MainQueue.h"

#include <utility>

namespace tavrik {

HotKey::HotKey(HotKeyBackend& backend, MainQueue& queue, KeyCombination combination,
               PermissionRequest request) {
    const auto poster = [&queue, this](std::function<void()> Callbacks::* member) {
        return [&queue, callbacks = m_callbacks, member] {
            queue.post([callbacks, member] {
                // A copy, since the callback may replace itself.
                if (const auto callback = (*callbacks).*member)
                    callback();
            });
        };
    };
    m_registration = backend.registerHotKey(combination, request,
                                            {.pressed = poster(&Callbacks::press),
                                             .released = poster(&Callbacks::release),
                                             .settled = poster(&Callbacks::settled)});
    connect(m_registration.get(), &Service::statusChanged, this, &Service::statusChanged);
}

void HotKey::setOnPress(std::function<void()> callback) {
    m_callbacks->press = std::move(callback);
}

void HotKey::setOnRelease(std::function<void()> callback) {
    m_callbacks->release = std::move(callback);
}

void HotKey::setOnSettled(std::function<void()> callback) {
    m_callbacks->settled = std::move(callback);
}

ServiceStatus HotKey::status() const {
    return m_registration->status();
}

QString HotKey::assignedTrigger() const {
    return m_registration->assignedTrigger();
}

KeyBindings HotKey::bindings() const {
    return m_registration->bindings();
}

bool HotKey::endsOnSecondPress() const {
    return m_registration->endsOnSecondPress();
}

void HotKey::setRecording(bool recording) {
    m_registration->setRecording(recording);
}

} // namespace tavrik
