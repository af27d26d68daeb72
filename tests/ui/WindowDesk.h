#pragma once

// The main window on a real desktop, over services that only remember what was asked of them.

#include "account/AuthStore.h"
#include "capture/AbstractHotKeyOwner.h"
#include "mock-server/LocalService.h"
#include "platform/FolderRevealer.h"
#include "platform/LoginItem.h"
#include "platform/linux/XkbKeyReader.h"
#include "platform/x11/X11WindowActivator.h"
#include "preferences/Settings.h"
#include "services/HttpClient.h"
#include "support/FakeLinks.h"
#include "support/FakePlatform.h"
#include "support/FakeSecureSlot.h"
#include "ui/HistoryDesk.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/ViewEngine.h"

#include <QQuickWindow>

namespace tavrik::test {

class OwnerLog : public fake::Set<AbstractHotKeyOwner> {
public:
    void releaseHotKey() override { ++released; }
    void hotKeyChanged() override { ++changed; }
    QString assignedTrigger() const override { return trigger; }
    QString trigger;
    int released = 0;
    int changed = 0;
};

class NoFolders : public FolderRevealer {
public:
    void reveal(const QString&) override {}
};

class NoLoginItem : public LoginItem {
public:
    bool isEnabled() const override { return false; }
    void setEnabled(bool) override {}
};

/// Nobody is signed in, and the window was never shown.
struct WindowDesk {
    explicit WindowDesk(const QString& userName = "Sara Ahmadi") : fullUserName(userName) {}

    const QString fullUserName;
    LocalService service;
    MainQueue queue;
    HttpClient http{queue};
    fake::Slot slot;
    AuthStore account{slot, http, queue, {.url = service.url(), .anonKey = "key"}};
    QTemporaryDir folder;
    HistoryStore history{folder.path()};
    HeldClipboard clipboard;
    CalledDays days;
    fake::Links links;
    NoFolders folders;
    NoLoginItem loginItem;
    X11WindowActivator activator;
    XkbKeyReader keys;
    OwnerLog hotKey;
    fake::Keys pasteKeys;
    fake::Preferences preferences;
    fake::AppearanceLog appearance;
    Settings settings{preferences};
    ViewEngine engine;
    MainWindowController controller{
        {
            .queue = queue,
            .account = account,
            .history = [this]() -> HistoryStore& { return history; },
            .clipboard = clipboard,
            .days = days,
            .links = links,
            .activator = activator,
            .settings = {.shortcut = {preferences, settings, keys, hotKey, pasteKeys},
                         .appearance = appearance,
                         .loginItem = loginItem,
                         .folders = folders,
                         .texts = {},
                         .dataFolder = folder.path()},
            .fullUserName = fullUserName,
        },
        engine};

    /// Finds Sara's session, or none.
    void start(bool signedIn) {
        if (signedIn)
            slot.content = AuthSession{QStringLiteral("a"), QStringLiteral("r"),
                                       std::chrono::system_clock::now() + std::chrono::hours(1),
                                       QStringLiteral("sara@example.org")}
                               .toJson();
        slot.finishReading();
    }

    /// Once it was shown.
    QQuickWindow& window() { return static_cast<QQuickWindow&>(*controller.window()); }
};

} // namespace tavrik::test
