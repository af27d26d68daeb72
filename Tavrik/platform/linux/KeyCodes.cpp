#include "platform/linux/KeyCodes.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <array>

namespace tavrik {

namespace {

// Indexed by the Mac code. The keys that ISO keyboards add or move follow their USB usages. F13 to F15 stay
// themselves, although a PC keyboard has PrintScreen, ScrollLock and Pause in their place.
constexpr auto table = [] {
    std::array<quint8, 0x80> keys{};
    // clang-format off
    // Letters.
    keys[0x00] = KEY_A; keys[0x0b] = KEY_B; keys[0x08] = KEY_C; keys[0x02] = KEY_D; keys[0x0e] = KEY_E;
    keys[0x03] = KEY_F; keys[0x05] = KEY_G; keys[0x04] = KEY_H; keys[0x22] = KEY_I; keys[0x26] = KEY_J;
    keys[0x28] = KEY_K; keys[0x25] = KEY_L; keys[0x2e] = KEY_M; keys[0x2d] = KEY_N; keys[0x1f] = KEY_O;
    keys[0x23] = KEY_P; keys[0x0c] = KEY_Q; keys[0x0f] = KEY_R; keys[0x01] = KEY_S; keys[0x11] = KEY_T;
    keys[0x20] = KEY_U; keys[0x09] = KEY_V; keys[0x0d] = KEY_W; keys[0x07] = KEY_X; keys[0x10] = KEY_Y;
    keys[0x06] = KEY_Z;
    // Digits and signs.
    keys[0x12] = KEY_1; keys[0x13] = KEY_2; keys[0x14] = KEY_3; keys[0x15] = KEY_4; keys[0x17] = KEY_5;
    keys[0x16] = KEY_6; keys[0x1a] = KEY_7; keys[0x1c] = KEY_8; keys[0x19] = KEY_9; keys[0x1d] = KEY_0;
    keys[0x32] = KEY_GRAVE; keys[0x1b] = KEY_MINUS; keys[0x18] = KEY_EQUAL;
    keys[0x21] = KEY_LEFTBRACE; keys[0x1e] = KEY_RIGHTBRACE; keys[0x2a] = KEY_BACKSLASH;
    keys[0x29] = KEY_SEMICOLON; keys[0x27] = KEY_APOSTROPHE;
    keys[0x2b] = KEY_COMMA; keys[0x2f] = KEY_DOT; keys[0x2c] = KEY_SLASH;
    // ISO and JIS keyboards.
    keys[0x0a] = KEY_102ND; keys[0x5d] = KEY_YEN; keys[0x5e] = KEY_RO; keys[0x5f] = KEY_KPCOMMA;
    keys[0x66] = KEY_HANJA; keys[0x68] = KEY_HANGEUL;
    // Editing and modifiers.
    keys[0x31] = KEY_SPACE; keys[0x24] = KEY_ENTER; keys[0x30] = KEY_TAB; keys[0x33] = KEY_BACKSPACE;
    keys[0x35] = KEY_ESC; keys[0x39] = KEY_CAPSLOCK;
    keys[0x37] = KEY_LEFTMETA; keys[0x36] = KEY_RIGHTMETA; keys[0x38] = KEY_LEFTSHIFT; keys[0x3c] = KEY_RIGHTSHIFT;
    keys[0x3a] = KEY_LEFTALT; keys[0x3d] = KEY_RIGHTALT; keys[0x3b] = KEY_LEFTCTRL; keys[0x3e] = KEY_RIGHTCTRL;
    // Navigation.
    keys[0x72] = KEY_INSERT; keys[0x75] = KEY_DELETE; keys[0x73] = KEY_HOME; keys[0x77] = KEY_END;
    keys[0x74] = KEY_PAGEUP; keys[0x79] = KEY_PAGEDOWN; keys[0x6e] = KEY_COMPOSE;
    keys[0x7b] = KEY_LEFT; keys[0x7c] = KEY_RIGHT; keys[0x7d] = KEY_DOWN; keys[0x7e] = KEY_UP;
    // Function keys and sound.
    keys[0x7a] = KEY_F1; keys[0x78] = KEY_F2; keys[0x63] = KEY_F3; keys[0x76] = KEY_F4; keys[0x60] = KEY_F5;
    keys[0x61] = KEY_F6; keys[0x62] = KEY_F7; keys[0x64] = KEY_F8; keys[0x65] = KEY_F9; keys[0x6d] = KEY_F10;
    keys[0x67] = KEY_F11; keys[0x6f] = KEY_F12; keys[0x69] = KEY_F13; keys[0x6b] = KEY_F14; keys[0x71] = KEY_F15;
    keys[0x6a] = KEY_F16; keys[0x40] = KEY_F17; keys[0x4f] = KEY_F18; keys[0x50] = KEY_F19; keys[0x5a] = KEY_F20;
    keys[0x48] = KEY_VOLUMEUP; keys[0x49] = KEY_VOLUMEDOWN; keys[0x4a] = KEY_MUTE;
    // Keypad.
    keys[0x52] = KEY_KP0; keys[0x53] = KEY_KP1; keys[0x54] = KEY_KP2; keys[0x55] = KEY_KP3; keys[0x56] = KEY_KP4;
    keys[0x57] = KEY_KP5; keys[0x58] = KEY_KP6; keys[0x59] = KEY_KP7; keys[0x5b] = KEY_KP8; keys[0x5c] = KEY_KP9;
    keys[0x41] = KEY_KPDOT; keys[0x43] = KEY_KPASTERISK; keys[0x45] = KEY_KPPLUS; keys[0x47] = KEY_NUMLOCK;
    keys[0x4b] = KEY_KPSLASH; keys[0x4c] = KEY_KPENTER; keys[0x4e] = KEY_KPMINUS; keys[0x51] = KEY_KPEQUAL;
    // clang-format on
    return keys;
}();

} // namespace

std::optional<quint8> evdevKeyCode(quint32 macKeyCode) {
    if (macKeyCode >= table.size() || table[macKeyCode] == KEY_RESERVED)
        return std::nullopt;
    return table[macKeyCode];
}

std::optional<quint32> macKeyCode(quint32 evdevKeyCode) {
    const auto* found = std::ranges::find(table, evdevKeyCode);
    if (evdevKeyCode == KEY_RESERVED || found == table.end())
        return std::nullopt;
    return static_cast<quint32>(found - table.begin());
}

} // namespace tavrik
