#include "app/HotKeyRegistrar.h"

#include "preferences/Settings.h"

namespace tavrik {

HotKeyRegistrar::HotKeyRegistrar(HotKeyBackend& backend, MainQueue& queue, const Settings& settings)
    : m_backend(backend), m_queue(queue), m_settings(settings) {}

void HotKeyRegistrar::registerHotKey(PermissionRequest request, std::function<void()> settled) {
    m_stale.reset();
    m_hotKey.reset();
    m_combination = {m_settings.hotKeyKeyCode(), m_settings.hotKeyModifiers()};
    m_display = m_settings.hotKeyDisplay();
    m_hotKey = std::make_unique<HotKey>(m_backend, m_queue, m_combination, request);
    m_hotKey->setOnPress(m_onPress);
    m_hotKey->setOnRelease(m_onRelease);
    m_hotKey->setOnSettled(std::move(settled));
    connect(m_hotKey.get(), &Service::statusChanged, this, &Service::statusChanged);
    Q_EMIT statusChanged();
}

void HotKeyRegistrar::stop() {
    m_stale.reset();
    m_hotKey.reset();
}

void HotKeyRegistrar::setRecording(bool recording) {
    m_isRecording = recording;
    if (m_hotKey)
        m_hotKey->setRecording(recording);
    if (!recording && m_stale)
        registerHotKey(*m_stale);
}

void HotKeyRegistrar::refresh() {
    if (!m_hotKey)
        return;
    const KeyCombination wanted{m_settings.hotKeyKeyCode(), m_settings.hotKeyModifiers()};
    if (wanted != m_combination || m_settings.hotKeyDisplay() != m_display)
        hotKeyChanged(PermissionRequest::byUser);
    else if (!m_isRecording && !m_hotKey->status().works)
        registerHotKey(PermissionRequest::once);
}

void HotKeyRegistrar::releaseHotKey() {
    if (!m_isRecording)
        m_hotKey.reset();
}

void HotKeyRegistrar::hotKeyChanged(PermissionRequest request) {
    if (m_isRecording)
        m_stale = m_stale == PermissionRequest::byUser ? m_stale : request;
    else
        registerHotKey(request);
}

ServiceStatus HotKeyRegistrar::status() const {
    return m_hotKey ? m_hotKey->status() : m_backend.status();
}

QString HotKeyRegistrar::assignedTrigger() const {
    return m_hotKey ? m_hotKey->assignedTrigger() : QString();
}

KeyBindings HotKeyRegistrar::bindings() const {
    return m_hotKey ? m_hotKey->bindings() : KeyBindings();
}

bool HotKeyRegistrar::endsOnSecondPress() const {
    return m_hotKey && m_hotKey->endsOnSecondPress();
}

} // namespace tavrik
