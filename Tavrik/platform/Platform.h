#pragma once

#include "base/Result.h"
#include "platform/Folders.h"
#include "platform/PlatformTexts.h"
#include "platform/Service.h"

#include <QByteArray>
#include <QList>

#include <functional>
#include <memory>

namespace tavrik {

class Alerts;
class Appearance;
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
class SecureSlot;
class SoundPlayer;
class StatusItem;
class WindowActivator;

/// The folders of this desktop. Needs no application object.
Folders platformFolders();

/// The sentences that are different on every desktop. Needs the application object.
PlatformTexts platformTexts();

/// The full name of the computer's user.
QString fullUserName();

/// The Qt platform that the program runs on (the value of QApplication's -platform); the error is why it
/// cannot run here. To be asked before QApplication is made.
Result<QByteArray> qtPlatform();

/// Calls `terminated` on the main thread when the system asks the process to end, for as long as the result
/// lives.
std::shared_ptr<void> onTermination(std::function<void()> terminated);

/// Calls `lost`, which must end the process, when the display is gone. Qt and Xlib end it too, but in the
/// midst of a call, where exit() would take down objects that other threads still use.
void onDisplayLost(void (*lost)());

/// Every service of the desktop the program runs on, chosen by what the desktop offers. None is ever null:
/// what stands in for a missing one does nothing and knows why. Made once, after QApplication; destroyed
/// before it.
class Platform {
    struct Foundation;
    std::unique_ptr<Foundation> m_foundation;

    /// The result offers the clipboard's text as the selection too.
    std::function<void()> chooseClipboard();
    void chooseHotKeys();
    void choosePasteKeys(const std::function<void()>& offerSelection);
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
