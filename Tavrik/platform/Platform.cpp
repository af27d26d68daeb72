// The one place that chooses what serves this desktop.

#include "platform/Platform.h"

#include "platform/linux/AutostartEntry.h"
#include "platform/linux/DBusApplicationInstance.h"
#include "platform/linux/FileManagerRevealer.h"
#include "platform/linux/JsonPreferenceStore.h"
#include "platform/linux/LargeBlocks.h"
#include "platform/linux/LinuxDayWatcher.h"
#include "platform/linux/LinuxTexts.h"
#include "platform/linux/PortalAppearance.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseMicrophone.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "platform/linux/SecretServiceSlot.h"
#include "platform/linux/TrayStatusItem.h"
#include "platform/linux/UserName.h"
#include "platform/linux/XdgFolders.h"
#include "platform/linux/XkbKeyReader.h"
#include "platform/qt/MessageBoxAlerts.h"
#include "platform/qt/QtClipboard.h"
#include "platform/qt/QtLinkOpener.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11PanelHost.h"
#include "platform/x11/X11PasteKeys.h"
#include "platform/x11/X11WindowActivator.h"
#include "platform/x11/XEmbedTray.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDir>

namespace tavrik {

Folders platformFolders() {
    return xdgFolders();
}

PlatformTexts platformTexts() {
    return linuxTexts(platformFolders().applicationSupport);
}

QString fullUserName() {
    return linuxUserName();
}

std::unique_ptr<PreferenceStore> makePreferenceStore() {
    return std::make_unique<JsonPreferenceStore>(xdgPreferencesFile());
}

std::unique_ptr<ApplicationInstance> makeApplicationInstance() {
    return std::make_unique<DBusApplicationInstance>();
}

/// What users start.
static QString launcher() {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/" TAVRIK_LAUNCHER));
}

/// What several services stand on.
struct Platform::Foundation {
    X11Keyboard keyboard;
    std::shared_ptr<PulseConnection> sound = std::make_shared<PulseConnection>();
};

Platform::Platform(MainQueue& queue)
    : m_foundation(std::make_unique<Foundation>()), alerts(std::make_unique<MessageBoxAlerts>(queue)),
      appearance(std::make_unique<PortalAppearance>()), days(std::make_unique<LinuxDayWatcher>()),
      hotKeys(std::make_unique<X11HotKeyBackend>(m_foundation->keyboard)),
      keyReader(std::make_unique<XkbKeyReader>()), links(std::make_unique<QtLinkOpener>()),
      loginItem(std::make_unique<AutostartEntry>(AutostartEntry::standardFile(), launcher())),
      microphone(std::make_unique<PulseMicrophone>(m_foundation->sound)),
      panels(std::make_unique<X11PanelHost>()),
      sounds(std::make_unique<PulseSoundPlayer>(m_foundation->sound)),
      statusItem(std::make_unique<TrayStatusItem>(&hasXEmbedTray)),
      windowActivator(std::make_unique<X11WindowActivator>()) {
    returnLargeBlocks();
    folders = std::make_unique<FileManagerRevealer>(*links);
    secureSlot = std::make_unique<SecretServiceSlot>(
        queue, platformFolders().applicationSupport + QStringLiteral("/.signed-out"),
        QDBusConnection::sessionBus());
    auto ours = std::make_unique<QtClipboard>();
    pasteKeys = std::make_unique<X11PasteKeys>(m_foundation->keyboard,
                                               [clipboard = ours.get()] { clipboard->offerAsSelection(); });
    clipboard = std::move(ours);
}

Platform::~Platform() = default;

} // namespace tavrik
