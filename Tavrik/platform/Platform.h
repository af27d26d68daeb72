#pragma once

#include "platform/Folders.h"
#include "platform/PlatformTexts.h"
#include "platform/Service.h"

#include <QList>

#include <memory>

namespace tavrik {

class Alerts;
class Appearance;
class ApplicationInstance;
class Clipboard;
class DayWatcher;
class FolderRevealer;
class HotKeyBackend;
class KeyReader;
class LinkOpener;
class LoginItem;
class MainQueue;
class Microphone;
class PanelHost;
class PasteKeys;
class PreferenceStore;
class SecureSlot;
class SoundPlayer;
class StatusItem;
class WindowActivator;

/// The folders of this desktop. Needs no application object.
Folders platformFolders();

/// The sentences that are different on every desktop.
PlatformTexts platformTexts();

/// The full name of the computer's user.
QString fullUserName();

/// Whether the program already runs in this session, and the way to reach it. Needs no application object.
std::unique_ptr<ApplicationInstance> makeApplicationInstance();

/// The preference store of this desktop. Needs a core application, no display.
std::unique_ptr<PreferenceStore> makePreferenceStore();

/// Every service of the desktop the program runs on, chosen by what the desktop offers. None is ever null:
/// what stands in for a missing one does nothing and knows why. Made once, after QApplication; destroyed
/// before it.
class Platform {
    struct Foundation;
    std::unique_ptr<Foundation> m_foundation;

    void chooseClipboardAndKeys();
    void chooseWindows();

public:
    explicit Platform(MainQueue& queue);
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    ~Platform();

    /// Those a desktop may lack, in the order of a dictation. They live as long as this.
    QList<NamedService> services() const;

    std::unique_ptr<Alerts> alerts;
    std::unique_ptr<Appearance> appearance;
    std::unique_ptr<Clipboard> clipboard;
    std::unique_ptr<DayWatcher> days;
    std::unique_ptr<FolderRevealer> folders;
    std::unique_ptr<HotKeyBackend> hotKeys;
    std::unique_ptr<KeyReader> keyReader;
    std::unique_ptr<LinkOpener> links;
    std::unique_ptr<LoginItem> loginItem;
    std::unique_ptr<Microphone> microphone;
    std::unique_ptr<PanelHost> panels;
    std::unique_ptr<PasteKeys> pasteKeys;
    std::unique_ptr<SecureSlot> secureSlot;
    std::unique_ptr<SoundPlayer> sounds;
    std::unique_ptr<StatusItem> statusItem;
    std::unique_ptr<WindowActivator> windowActivator;
};

} // namespace tavrik
