#pragma once

// The main window on a real desktop, over services that only remember what was asked of them.

#include "account/AuthStore.h"
#include "capture/AbstractHotKeyOwner.h"
#include "platform/FolderRevealer.h"
#include "platform/LinkOpener.h"
#include "platform/LoginItem.h"
#include "platform/linux/XkbKeyReader.h"
#include "platform/x11/X11WindowActivator.h"
#include "preferences/Settings.h"
#include "services/HttpClient.h"
#include "support/FakePlatform.h"
#include "support/FakeSecureSlot.h"
#include "ui/HistoryDesk.h"
#include "ui/shell/MainWindow.h"
#include "ui/shell/ViewEngine.h"

#include <QQuickWindow>

namespace tavrik::test {

class NoHotKey : public fake::Set<AbstractHotKeyOwner> {
public:
    KeyBindings bindings() const override { return {}; }
    void releaseHotKey() override {}
    void hotKeyChanged(PermissionRequest) override {}
    QString assignedTrigger() const override { return {}; }
};

class NoLinks : public LinkOpener {
public:
    void open(const QUrl&) override {}
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

/// Sara is signed in, and the window was never shown.
struct WindowDesk {
    MainQueue queue;
    HttpClient http{queue};
    fake::Slot slot;
    AuthStore account{slot, http, queue, {.url = QUrl("http://127.0.0.1"), .anonKey = "key"}};
    QTemporaryDir folder;
    HistoryStore history{folder.path()};
    HeldClipboard clipboard;
    CalledDays days;
    NoLinks links;
    NoFolders folders;
    NoLoginItem loginItem;
    X11WindowActivator activator;
    XkbKeyReader keys;
    NoHotKey hotKey;
    fake::Keys pasteKeys;
    fake::Preferences preferences;
    fake::AppearanceLog appearance;
    Settings settings{preferences};
    ViewEngine engine;
    MainWindowController controller{{
                                        .queue = queue,
                                        .account = account,
                                        .history = [this]() -> HistoryStore& { return history; },
                                        .clipboard = clipboard,
                                        .days = days,
                                        .links = links,
                                        .activator = activator,
                                        .settings = {.shortcut = {preferences, settings, keys, hotKey},
                                                     .pasteKeys = pasteKeys,
                                                     .clipboard = clipboard,
                                                     .appearance = appearance,
                                                     .loginItem = loginItem,
                                                     .folders = folders,
                                                     .texts = {},
                                                     .dataFolder = folder.path()},
                                        .fullUserName = [] { return QStringLiteral("Sara Ahmadi"); },
                                    },
                                    engine};

    WindowDesk() {
        slot.content = AuthSession{"a", "r", std::chrono::system_clock::now() + std::chrono::hours(1),
                                   "sara@example.org"}
                           .toJson();
        slot.finishReading();
    }

    /// Once it was shown.
    QQuickWindow& window() { return static_cast<QQuickWindow&>(*controller.window()); }
};

} // namespace tavrik::test
