#pragma once

#include "platform/PasteKeys.h"
#include "platform/wayland/ActiveWindow.h"
#include "platform/wayland/WaylandConnection.h"

#include <QTimer>

#include <bitset>
#include <functional>
#include <vector>

namespace tavrik {

/// Keys typed on the user's own keyboard, as far as programs can tell: the active layout and the modifiers
/// held down apply to them. Only for programs whose desktop file asks for it (X-KDE-Wayland-Interfaces).
class FakeInputPasteKeys : public PasteKeys {
public:
    /// Whether the compositor offers what this needs.
    static bool isOffered(const WaylandConnection& connection);

    /// `offerSelection` is called when the window that has the focus is about to paste the selection instead
    /// of the clipboard.
    FakeInputPasteKeys(WaylandConnection& connection, std::function<void()> offerSelection);

    ServiceStatus status() const override;
    /// Nobody to ask: the compositor allows it or not.
    void requestPermission(PermissionRequest, std::function<void()> answered) override { answered(); }
    /// While one waits for modifiers to be let go, another adds no keys, and ends with it: the clipboard
    /// holds the newer text by then.
    void sendPaste(Completion<void> completion) override;

private:
    void watchModifiers();
    void sendIfFree();
    void end(const Result<void>& outcome);
    void type(quint32 modifier, quint32 key);

    WaylandConnection& m_connection;
    const std::function<void()> m_offerSelection;
    ActiveWindow m_activeWindow;
    WaylandPointer<org_kde_kwin_fake_input> m_input;
    /// Only while somebody waits.
    WaylandPointer<org_kde_kwin_keystate> m_keyState;
    /// The modifiers, by their numbers in the protocol.
    std::bitset<8> m_down;
    /// Whether what was asked of the compositor is known.
    bool m_asked = false;
    bool m_toTerminal = false;
    QTimer m_bound;
    std::vector<Completion<void>> m_waiting;
};

} // namespace tavrik
