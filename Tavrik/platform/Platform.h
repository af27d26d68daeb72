#pragma once

#include "platform/Folders.h"

#include <memory>

namespace tavrik {

class Alerts;
class Appearance;
class ApplicationInstance;
class Clipboard;
class HotKeyBackend;
class LinkOpener;
class MainQueue;
class Microphone;
class PanelHost;
class PasteKeys;
class PreferenceStore;
class SecureSlot;
class SoundPlayer;
class StatusItem;

/// The folders of this desktop. Needs no application object.
Folders platformFolders();

/// Whether the program already runs in this session, and the way to reach it. Needs no application object.
std::unique_ptr<ApplicationInstance> makeApplicationInstance();

/// The preference store of this desktop. Needs a core application, no display.
std::unique_ptr<PreferenceStore> makePreferenceStore();

/// Every service of the desktop the program runs on. Made once, after QApplication; destroyed before it.
class Platform {
    struct Foundation;
    std::unique_ptr<Foundation> m_foundation;

public:
    explicit Platform(MainQueue& queue);
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    ~Platform();

    std::unique_ptr<Alerts> alerts;
    std::unique_ptr<Appearance> appearance;
    std::unique_ptr<Clipboard> clipboard;
    std::unique_ptr<HotKeyBackend> hotKeys;
    std::unique_ptr<LinkOpener> links;
    std::unique_ptr<Microphone> microphone;
    std::unique_ptr<PanelHost> panels;
    std::unique_ptr<PasteKeys> pasteKeys;
    std::unique_ptr<SecureSlot> secureSlot;
    std::unique_ptr<SoundPlayer> sounds;
    std::unique_ptr<StatusItem> statusItem;
};

} // namespace tavrik
