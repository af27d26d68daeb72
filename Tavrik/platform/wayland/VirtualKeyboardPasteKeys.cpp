#include "platform/wayland/VirtualKeyboardPasteKeys.h"

#include "platform/linux/Terminals.h"
#include "protocols/virtual-keyboard-unstable-v1.h"

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client-protocol.h>

#include <chrono>
#include <string_view>
#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

// Only what is typed: every program reads it when the keyboard is used. The key codes are the evdev ones
// and 8.
constexpr std::string_view keymap = R"xkb(xkb_keymap {
xkb_keycodes { minimum = 8; maximum = 255; <LCTL> = 37; <LFSH> = 50; <AB04> = 55; <INS> = 118; };
xkb_types {
  type "ONE_LEVEL" { modifiers = none; level_name[Level1] = "Any"; };
  type "TWO_LEVEL" { modifiers = Shift; map[Shift] = Level2; level_name[Level1] = "Base"; level_name[Level2] = "Shift"; };
  type "ALPHABETIC" { modifiers = Shift; map[Shift] = Level2; level_name[Level1] = "Base"; level_name[Level2] = "Caps"; };
  type "KEYPAD" { modifiers = Shift; map[Shift] = Level2; level_name[Level1] = "Base"; level_name[Level2] = "Number"; };
};
xkb_compatibility {
  interpret Any + AnyOf(all) { action = SetMods(modifiers = modMapMods, clearLocks); };
};
xkb_symbols {
  name[group1] = "English (US)";
key<LCTL>{[Control_L]};
key<LFSH>{[Shift_L]};
key<AB04>{type = "ALPHABETIC", [ v, V ]};
key<INS>{[Insert]};
modifier_map Control{<LCTL>};
modifier_map Shift{<LFSH>};
};
};
)xkb";

constexpr quint32 shiftMask = 1;
constexpr quint32 controlMask = 4;

// With the null character that ends the keymap.
constexpr auto keymapSize = keymap.size() + 1;

/// -1 when there is no memory for it.
int keymapFile() {
    const int descriptor = ::memfd_create("keymap", MFD_CLOEXEC);
    if (::write(descriptor, keymap.data(), keymapSize) == static_cast<ssize_t>(keymapSize))
        return descriptor;
    ::close(descriptor);
    return -1;
}

quint32 now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<quint32>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

} // namespace

bool VirtualKeyboardPasteKeys::isOffered(const WaylandConnection& connection) {
    return connection.version(zwp_virtual_keyboard_manager_v1_interface) > 0;
}

VirtualKeyboardPasteKeys::VirtualKeyboardPasteKeys(WaylandConnection& connection,
                                                   std::function<void()> offerSelection)
    : m_connection(connection), m_offerSelection(std::move(offerSelection)), m_activeWindow(connection) {
    connect(&connection, &WaylandConnection::globalsChanged, this, &VirtualKeyboardPasteKeys::openKeyboard);
    connect(&connection, &WaylandConnection::disconnected, this, &VirtualKeyboardPasteKeys::statusChanged);
    openKeyboard();
}

void VirtualKeyboardPasteKeys::openKeyboard() {
    if (m_keyboard || m_connection.version(wl_seat_interface) == 0 || !isOffered(m_connection))
        return;
    const int descriptor = keymapFile();
    // A compositor that reads beyond the file's end dies.
    if (descriptor < 0)
        return;
    m_seat = m_connection.bind<wl_seat>(wl_seat_interface, 1);
    const auto manager =
        m_connection.bind<zwp_virtual_keyboard_manager_v1>(zwp_virtual_keyboard_manager_v1_interface, 1);
    m_keyboard.reset(zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager.get(), m_seat.get()));
    zwp_virtual_keyboard_v1_keymap(m_keyboard.get(), WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, descriptor,
                                   static_cast<quint32>(keymapSize));
    m_connection.flush();
    ::close(descriptor);
    Q_EMIT statusChanged();
}

ServiceStatus VirtualKeyboardPasteKeys::status() const {
    const auto backend = u"Wayland virtual keyboard"_s;
    if (!m_connection.isConnected())
        return {backend, false, WaylandConnection::disconnectedReason()};
    if (!m_keyboard)
        return {backend, false, u"The compositor has no seat, and so no keyboard."_s};
    return {backend, true};
}

void VirtualKeyboardPasteKeys::sendPaste(Completion<void> completion) {
    if (const auto can = status(); !can.works)
        return completion(std::unexpected(Error{can.reason}));
    m_activeWindow.ask([this, completion = std::move(completion)](const ActiveWindow::Answer& window) {
        if (const auto can = status(); !can.works)
            return completion(std::unexpected(Error{can.reason}));
        if (isTerminal(window.names)) {
            m_offerSelection();
            type(shiftMask, KEY_LEFTSHIFT, KEY_INSERT);
        } else {
            type(controlMask, KEY_LEFTCTRL, KEY_V);
        }
        m_connection.flush();
        completion({});
    });
}

void VirtualKeyboardPasteKeys::type(quint32 modifierMask, quint32 modifier, quint32 key) {
    auto* keyboard = m_keyboard.get();
    const auto time = now();
    zwp_virtual_keyboard_v1_key(keyboard, time, modifier, WL_KEYBOARD_KEY_STATE_PRESSED);
    zwp_virtual_keyboard_v1_modifiers(keyboard, modifierMask, 0, 0, 0);
    zwp_virtual_keyboard_v1_key(keyboard, time, key, WL_KEYBOARD_KEY_STATE_PRESSED);
    zwp_virtual_keyboard_v1_key(keyboard, time, key, WL_KEYBOARD_KEY_STATE_RELEASED);
    zwp_virtual_keyboard_v1_key(keyboard, time, modifier, WL_KEYBOARD_KEY_STATE_RELEASED);
    zwp_virtual_keyboard_v1_modifiers(keyboard, 0, 0, 0, 0);
}

} // namespace tavrik
