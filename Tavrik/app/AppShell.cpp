// The application's shell: launch, menu and the hot key's registration. The recording cycle is in
// AppDelegate.cpp.

#include "account/Account.h"
#include "app/AppDelegate.h"
#include "base/MainQueue.h"
#include "platform/Microphone.h"
#include "platform/PasteKeys.h"
#include "platform/PreferenceStore.h"
#include "platform/StatusItem.h"
#include "preferences/Settings.h"

#include <QPointer>

#include <chrono>

namespace tavrik {

using namespace std::chrono_literals;

void AppDelegate::applicationDidFinishLaunching() {
    m_parts.settings.applyAppearance(m_parts.appearance);
    updateIcon();
    buildMenu();
    m_parts.microphone.requestAccess();
    m_parts.pasteKeys.requestTrust();
    openWindowOnFirstRun();
    registerHotKey();
    m_parts.preferences.watch([self = QPointer<AppDelegate>(this)] {
        if (self)
            self->preferencesChanged();
    });
}

void AppDelegate::openWindowOnFirstRun() {
    m_parts.account.whenKnown([self = QPointer<AppDelegate>(this)] {
        if (!self || self->m_parts.account.isSignedIn() || !self->m_parts.settings.openRouterKey().isEmpty())
            return;
        self->m_parts.queue.postAfter(300ms, [self] {
            if (self && self->m_parts.openMainWindow)
                self->m_parts.openMainWindow();
        });
    });
}

void AppDelegate::applicationShouldHandleReopen() {
    if (m_hotKey && m_hotKey->status() != HotKeyBackend::Status::registered)
        registerHotKey();
    if (m_parts.openMainWindow)
        m_parts.openMainWindow();
}

void AppDelegate::registerHotKey() {
    m_hotKeyIsStale = false;
    m_hotKey.reset();
    m_combination = {m_parts.settings.hotKeyKeyCode(), m_parts.settings.hotKeyModifiers()};
    m_hotKeyDisplay = m_parts.settings.hotKeyDisplay();
    m_hotKey = std::make_unique<HotKey>(m_parts.hotKeys, m_parts.queue, m_combination);
    const QPointer<AppDelegate> self(this);
    m_hotKey->setOnPress([self] {
        if (self)
            self->startRecording();
    });
    m_hotKey->setOnRelease([self] {
        if (self)
            self->stopAndTranslate();
    });

    switch (m_hotKey->status()) {
    case HotKeyBackend::Status::registered:
        return m_parts.statusItem.setNote({});
    case HotKeyBackend::Status::taken:
        return m_parts.statusItem.setNote(
            QStringLiteral("%1 is held by another program").arg(m_hotKeyDisplay));
    case HotKeyBackend::Status::unavailable:
        return m_parts.statusItem.setNote(
            QStringLiteral("%1 cannot be used on this desktop").arg(m_hotKeyDisplay));
    }
}

void AppDelegate::releaseHotKey() {
    if (m_state != State::recording)
        m_hotKey.reset();
}

void AppDelegate::hotKeyChanged() {
    // The key that started a recording is still down: its release must arrive.
    m_hotKeyIsStale = m_state == State::recording;
    if (m_hotKeyIsStale)
        return;
    registerHotKey();
    buildMenu();
}

HotKeyBackend::Status AppDelegate::hotKeyStatus() const {
    return m_hotKey ? m_hotKey->status() : HotKeyBackend::Status::unavailable;
}

void AppDelegate::preferencesChanged() {
    m_parts.settings.applyAppearance(m_parts.appearance);
    // Whoever has made us release it will tell us.
    if (!m_hotKey)
        return;
    const KeyCombination wanted{m_parts.settings.hotKeyKeyCode(), m_parts.settings.hotKeyModifiers()};
    if (wanted == m_combination && m_parts.settings.hotKeyDisplay() == m_hotKeyDisplay &&
        m_hotKey->status() == HotKeyBackend::Status::registered)
        return;
    hotKeyChanged();
}

void AppDelegate::buildMenu() {
    using Kind = MenuItem::Kind;
    m_parts.statusItem.setMenu({
        {.kind = Kind::label,
         .title = QStringLiteral("Hold %1 and speak Persian").arg(m_parts.settings.hotKeyDisplay())},
        {.kind = Kind::separator},
        {.title = QStringLiteral("Open Tavrik"),
         .keyEquivalent = QStringLiteral("o"),
         .action = m_parts.openMainWindow},
        {.title = QStringLiteral("Check for Updates…"), .action = m_parts.checkForUpdates},
        {.kind = Kind::separator},
        {.title = QStringLiteral("Quit Tavrik"),
         .keyEquivalent = QStringLiteral("q"),
         .action = m_parts.quit},
    });
}

} // namespace tavrik
