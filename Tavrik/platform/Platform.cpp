// The one place that chooses what serves this desktop.

#include "platform/Platform.h"

#include "platform/linux/AutostartEntry.h"
#include "platform/linux/CommandHotKeyBackend.h"
#include "platform/linux/FileManagerRevealer.h"
#include "platform/linux/KeyBindingLines.h"
#include "platform/linux/LinuxDayWatcher.h"
#include "platform/linux/LinuxTexts.h"
#include "platform/linux/PortalAppearance.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseMicrophone.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "platform/linux/QtPlatform.h"
#include "platform/linux/SecretServiceSlot.h"
#include "platform/linux/TerminationSignals.h"
#include "platform/linux/TrayStatusItem.h"
#include "platform/linux/UserName.h"
#include "platform/linux/XdgFolders.h"
#include "platform/linux/XkbKeyReader.h"
#include "platform/null/NullServices.h"
#include "platform/portal/FallbackHotKeyBackend.h"
#include "platform/portal/GlobalShortcutsBackend.h"
#include "platform/portal/GnomeCustomShortcut.h"
#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalGrants.h"
#include "platform/portal/RemoteDesktopPasteKeys.h"
#include "platform/qt/MessageBoxAlerts.h"
#include "platform/qt/QtClipboard.h"
#include "platform/qt/QtLinkOpener.h"
#include "platform/qt/QtWindowActivator.h"
#include "platform/wayland/DataControlClipboard.h"
#include "platform/wayland/FakeInputPasteKeys.h"
#include "platform/wayland/TypingOutput.h"
#include "platform/wayland/VirtualKeyboardPasteKeys.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandKeyboard.h"
#include "platform/wayland/XWaylandPasteKeys.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11PanelHost.h"
#include "platform/x11/X11PasteKeys.h"
#include "platform/x11/X11WindowActivator.h"
#include "platform/x11/XEmbedTray.h"
#include "platform/x11/Xcb.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QGuiApplication>

#include <xkbcommon/xkbcommon-keysyms.h>

#include <functional>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

Folders platformFolders() {
    return xdgFolders();
}

PlatformTexts platformTexts() {
    return linuxTexts(platformFolders().applicationSupport,
                      shellCommand(QCoreApplication::applicationFilePath()));
}

QString fullUserName() {
    return linuxUserName();
}

Result<QByteArray> qtPlatform() {
    return chooseQtPlatform(&xServerAnswers);
}

std::shared_ptr<void> onTermination(std::function<void()> terminated) {
    return std::make_shared<TerminationSignals>(std::move(terminated));
}

void onDisplayLost(void (*lost)()) {
    onXServerLost(lost);
}

namespace {

const QString noXServer = u"There is no X server."_s;
const QString panelNeedsX = u"The panel needs an X server."_s;
const QString noScreen = u"There is no screen."_s;

/// Whether anybody sees what Qt draws.
bool hasScreen() {
    const auto plugin = QGuiApplication::platformName();
    return plugin != u"offscreen" && plugin != u"minimal";
}

/// Desktop portals, and what the program remembers of them.
struct Portals {
    PortalConnection connection{
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"tavrik-portals"_s)};
    PortalGrants grants{platformFolders().applicationSupport + u"/portals.json"_s};
};

} // namespace

/// What several services stand on.
struct Platform::Foundation {
    /// In Wayland sessions.
    std::optional<Portals> portals;
    X11Keyboard keyboard;
    XEmbedTray embeddingTray;
    WaylandConnection wayland;
    WaylandKeyboard waylandKeyboard{wayland};
    TypingOutput typingOutput{wayland, QDBusConnection::sessionBus()};
    std::shared_ptr<PulseConnection> sound = std::make_shared<PulseConnection>();
};

Platform::Platform(MainQueue& queue)
    : m_foundation(std::make_unique<Foundation>()), appearance(std::make_unique<PortalAppearance>()),
      days(std::make_unique<LinuxDayWatcher>()), keyReader(std::make_unique<XkbKeyReader>()),
      links(std::make_unique<QtLinkOpener>()),
      loginItem(std::make_unique<AutostartEntry>(AutostartEntry::standardFile(),
                                                 QCoreApplication::applicationFilePath())),
      microphone(std::make_unique<PulseMicrophone>(m_foundation->sound)),
      sounds(std::make_unique<PulseSoundPlayer>(m_foundation->sound)),
      statusItem(std::make_unique<TrayStatusItem>(m_foundation->embeddingTray)) {
    folders = std::make_unique<FileManagerRevealer>(*links);
    secureSlot = std::make_unique<SecretServiceSlot>(
        queue, platformFolders().applicationSupport + u"/.signed-out"_s, QDBusConnection::sessionBus());
    if (m_foundation->wayland.isConnected())
        m_foundation->portals.emplace();
    choosePasteKeys(chooseClipboard());
    chooseHotKeys();
    chooseWindows();
    alerts = std::make_unique<MessageBoxAlerts>(queue, *windowActivator);
}

Platform::~Platform() = default;

/// The compositor's, where it lets programs without the keyboard have it; Qt's is silently ignored by some of
/// those.
std::function<void()> Platform::chooseClipboard() {
    const auto use = [this](auto chosen) -> std::function<void()> {
        auto* offering = chosen.get();
        clipboard = std::move(chosen);
        return [offering] {
            offering->offerAsSelection();
        };
    };
    if (DataControlClipboard::isOffered(m_foundation->wayland))
        return use(std::make_unique<DataControlClipboard>(m_foundation->wayland));
    if (hasScreen())
        return use(std::make_unique<QtClipboard>());
    clipboard = std::make_unique<NullClipboard>(noScreen);
    return [] {
    };
}

void Platform::chooseHotKeys() {
    if (auto& portals = m_foundation->portals)
        hotKeys = std::make_unique<FallbackHotKeyBackend>(
            std::make_unique<GlobalShortcutsBackend>(portals->connection, portals->grants,
                                                     m_foundation->waylandKeyboard),
            std::make_unique<GnomeCustomShortcut>(portals->connection.bus(),
                                                  std::make_unique<CommandHotKeyBackend>()));
    else if (auto& keyboard = m_foundation->keyboard; keyboard.isConnected())
        hotKeys = std::make_unique<X11HotKeyBackend>(keyboard);
    else
        hotKeys = std::make_unique<NullHotKeyBackend>(noXServer);
}

void Platform::choosePasteKeys(const std::function<void()>& offerSelection) {
    auto& keyboard = m_foundation->keyboard;
    auto& wayland = m_foundation->wayland;
    auto& portals = m_foundation->portals;
    if (!portals) {
        if (keyboard.isConnected())
            pasteKeys = std::make_unique<X11PasteKeys>(keyboard, offerSelection);
        else
            pasteKeys = std::make_unique<NullPasteKeys>(noXServer);
        return;
    }
    if (VirtualKeyboardPasteKeys::isOffered(wayland)) {
        pasteKeys = std::make_unique<VirtualKeyboardPasteKeys>(wayland, offerSelection);
        if (keyboard.isConnected())
            pasteKeys = std::make_unique<XWaylandPasteKeys>(XWaylandPasteKeys::Dependencies{
                .waylandKeys = std::move(pasteKeys),
                .xKeys = std::make_unique<X11PasteKeys>(keyboard, offerSelection),
                .focusedXWindow = [&keyboard] { return keyboard.queryInput().focusedWindowClass; },
                .offerSelection = offerSelection,
                .connection = wayland,
            });
        return;
    }
    // The others reach X windows too. This one says itself where there is no such portal.
    auto& [portal, grants] = *portals;
    pasteKeys = std::make_unique<RemoteDesktopPasteKeys>(portal, grants, offerSelection);
    if (FakeInputPasteKeys::isOffered(wayland))
        pasteKeys = std::make_unique<FakeInputPasteKeys>(FakeInputPasteKeys::Dependencies{
            .connection = wayland,
            .keyForV = [&keys = m_foundation->waylandKeyboard] { return keys.keyFor(XKB_KEY_v); },
            .offerSelection = offerSelection,
            .otherwise = std::move(pasteKeys),
        });
}

/// What Qt's own connection to the display decides.
void Platform::chooseWindows() {
    if (applicationConnection()) {
        X11PanelHost::AskTypingOutput askTypingOutput;
        if (m_foundation->portals)
            askTypingOutput = std::bind_front(&TypingOutput::ask, &m_foundation->typingOutput);
        panels = std::make_unique<X11PanelHost>(std::move(askTypingOutput));
        windowActivator = std::make_unique<X11WindowActivator>();
    } else {
        panels = std::make_unique<NullPanelHost>(hasScreen() ? panelNeedsX : noScreen);
        windowActivator = std::make_unique<QtWindowActivator>();
    }
}

QList<NamedService> Platform::services() const {
    return {
        {u"hot key"_s, hotKeys.get()},     {u"microphone"_s, microphone.get()}, {u"panel"_s, panels.get()},
        {u"clipboard"_s, clipboard.get()}, {u"paste"_s, pasteKeys.get()},       {u"sounds"_s, sounds.get()},
        {u"tray"_s, statusItem.get()},     {u"keyring"_s, secureSlot.get()},
    };
}

} // namespace tavrik
