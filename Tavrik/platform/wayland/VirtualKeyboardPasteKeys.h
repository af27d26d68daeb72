#pragma once

#include "platform/PasteKeys.h"
#include "platform/wayland/ActiveWindow.h"
#include "platform/wayland/WaylandConnection.h"

#include <functional>

namespace tavrik {

/// Control+V, or Shift+Insert in terminals, typed on a keyboard of our own: neither the active layout nor the
/// keys that the user holds down matter to it. It is there for as long as this, because programs miss the
/// first keys of one that has just appeared.
class VirtualKeyboardPasteKeys : public PasteKeys {
public:
    /// Whether the compositor offers what this needs.
    static bool isOffered(const WaylandConnection& connection);

    /// The connection must be the one that the clipboard uses: what is pasted is then what was set before.
    /// `offerSelection` is called when the window that has the focus is about to paste the selection instead
    /// of the clipboard.
    VirtualKeyboardPasteKeys(WaylandConnection& connection, std::function<void()> offerSelection);

    ServiceStatus status() const override;
    /// Nobody to ask: the compositor allows it or not.
    void requestPermission(PermissionRequest, std::function<void()> answered) override { answered(); }
    void sendPaste(Completion<void> completion) override;

private:
    void openKeyboard();
    void type(quint32 modifierMask, quint32 modifier, quint32 key);

    WaylandConnection& m_connection;
    const std::function<void()> m_offerSelection;
    ActiveWindow m_activeWindow;
    WaylandPointer<wl_seat> m_seat;
    WaylandPointer<zwp_virtual_keyboard_v1> m_keyboard;
};

} // namespace tavrik
