// The application's shell: launch and menu. The recording cycle is in AppDelegate.cpp.

#include "account/Account.h"
#include "app/AppDelegate.h"
#include "app/HotKeyRegistrar.h"
#include "base/MainQueue.h"
#include "platform/Microphone.h"
#include "platform/PasteKeys.h"
#include "platform/PreferenceStore.h"
#include "platform/StatusItem.h"
#include "preferences/Settings.h"

#include <QPointer>
#include <QStringList>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

void AppDelegate::applicationDidFinishLaunching() {
    m_dependencies.settings.applyAppearance(m_dependencies.appearance);
    updateIcon();
    buildMenu();
    m_dependencies.microphone.requestAccess();
    const QPointer<AppDelegate> self(this);
    auto& hotKey = m_dependencies.hotKey;
    hotKey.setOnPress([self] {
        if (self)
            self->startRecording(self->m_dependencies.hotKey.endsOnSecondPress());
    });
    hotKey.setOnRelease([self] {
        if (!self)
            return;
        const bool works = self->m_dependencies.hotKey.status().works;
        self->stopAndTranslate(works ? QString() : u"The hot key was lost."_s);
    });
    connect(&hotKey, &Service::statusChanged, this, &AppDelegate::hotKeyStatusChanged);
    connect(&m_dependencies.pasteKeys, &Service::statusChanged, this, &AppDelegate::updateNote);
    connect(&m_dependencies.views, &Service::statusChanged, this, &AppDelegate::updateNote);
    // One question at a time, and no window of ours over the desktop's dialogs.
    hotKey.registerHotKey(PermissionRequest::once, [self] {
        if (!self)
            return;
        self->m_dependencies.pasteKeys.requestPermission(PermissionRequest::once, [self] {
            if (self)
                self->openWindowOnFirstRun();
        });
    });
    m_dependencies.preferences.watch([self] {
        if (self)
            self->preferencesChanged();
    });
}

void AppDelegate::openWindowOnFirstRun() {
    m_dependencies.account.whenSessionLoaded([self = QPointer<AppDelegate>(this)] {
        if (!self || self->m_dependencies.account.isSignedIn() ||
            !self->m_dependencies.settings.openRouterKey().isEmpty())
            return;
        self->m_dependencies.queue.postAfter(300ms, [self] {
            if (self && self->m_dependencies.openMainWindow)
                self->m_dependencies.openMainWindow({});
        });
    });
}

void AppDelegate::applicationShouldHandleReopen(const QByteArray& activationToken) {
    m_dependencies.hotKey.refresh();
    if (m_dependencies.openMainWindow)
        m_dependencies.openMainWindow(activationToken);
}

void AppDelegate::preferencesChanged() {
    m_dependencies.settings.applyAppearance(m_dependencies.appearance);
    m_dependencies.hotKey.refresh();
}

void AppDelegate::hotKeyStatusChanged() {
    updateNote();
    buildMenu();
}

void AppDelegate::updateNote() {
    QStringList notes;
    if (const auto reason = m_dependencies.views.status().reason; !reason.isEmpty())
        notes << reason;
    const auto shortcut = m_dependencies.settings.hotKeyDisplay();
    if (const auto note = m_dependencies.texts.shortcutNote(shortcut);
        !note.isEmpty() && m_dependencies.hotKey.assignedTrigger().isEmpty())
        notes << note;
    if (const auto reason = m_dependencies.hotKey.status().reason; !reason.isEmpty())
        notes << shortcut + u": "_s + reason;
    if (!m_takeNote.isEmpty())
        notes << m_takeNote;
    const auto keys = m_dependencies.pasteKeys.status();
    const auto failure = m_pasteNote.isEmpty() && !keys.works ? keys.reason : m_pasteNote;
    if (!failure.isEmpty())
        notes << u"Your text stays on the clipboard: "_s + failure;
    else if (!keys.reason.isEmpty())
        notes << keys.reason;
    m_dependencies.statusItem.setNote(notes.join(u'\n'));
}

void AppDelegate::buildMenu() {
    using Kind = MenuItem::Kind;
    std::function<void()> openMainWindow;
    if (m_dependencies.openMainWindow)
        openMainWindow = [open = m_dependencies.openMainWindow] {
            open({});
        };
    m_dependencies.statusItem.setMenu({
        {.kind = Kind::label,
         .title = u"Hold %1 and speak Persian"_s.arg(m_dependencies.settings.hotKeyDisplay())},
        {.kind = Kind::separator},
        {.title = u"Open Tavrik"_s, .keyEquivalent = u"o"_s, .action = openMainWindow},
        {.title = u"Check for Updates…"_s, .action = m_dependencies.checkForUpdates},
        {.kind = Kind::separator},
        {.title = u"Quit Tavrik"_s, .keyEquivalent = u"q"_s, .action = m_dependencies.quit},
    });
}

} // namespace tavrik
