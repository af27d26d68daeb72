// The one place that chooses what serves this desktop.

#include "platform/Platform.h"

#include "platform/linux/DBusApplicationInstance.h"
#include "platform/linux/JsonPreferenceStore.h"
#include "platform/linux/PortalAppearance.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseMicrophone.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "platform/linux/SecretServiceSlot.h"
#include "platform/linux/TrayStatusItem.h"
#include "platform/linux/XdgFolders.h"
#include "platform/qt/MessageBoxAlerts.h"
#include "platform/qt/QtClipboard.h"
#include "platform/qt/QtLinkOpener.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11PanelHost.h"
#include "platform/x11/X11PasteKeys.h"
#include "platform/x11/XEmbedTray.h"

namespace tavrik {

Folders platformFolders() {
    return xdgFolders();
}

std::unique_ptr<PreferenceStore> makePreferenceStore() {
    return std::make_unique<JsonPreferenceStore>(xdgPreferencesFile());
}

std::unique_ptr<ApplicationInstance> makeApplicationInstance() {
    return std::make_unique<DBusApplicationInstance>();
}

/// What several services stand on.
struct Platform::Foundation {
    X11Keyboard keyboard;
    std::shared_ptr<PulseConnection> sound = std::make_shared<PulseConnection>();
};

Platform::Platform(MainQueue& queue)
    : m_foundation(std::make_unique<Foundation>()), alerts(std::make_unique<MessageBoxAlerts>(queue)),
      appearance(std::make_unique<PortalAppearance>()),
      hotKeys(std::make_unique<X11HotKeyBackend>(m_foundation->keyboard)),
      links(std::make_unique<QtLinkOpener>()),
      microphone(std::make_unique<PulseMicrophone>(m_foundation->sound)),
      panels(std::make_unique<X11PanelHost>()),
      sounds(std::make_unique<PulseSoundPlayer>(m_foundation->sound)),
      statusItem(std::make_unique<TrayStatusItem>(&hasXEmbedTray)) {
    secureSlot = std::make_unique<SecretServiceSlot>(queue);
    auto ours = std::make_unique<QtClipboard>();
    pasteKeys = std::make_unique<X11PasteKeys>(m_foundation->keyboard,
                                               [clipboard = ours.get()] { clipboard->offerAsSelection(); });
    clipboard = std::move(ours);
}

Platform::~Platform() = default;

} // namespace tavrik
