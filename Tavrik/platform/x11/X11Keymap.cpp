#include "platform/x11/X11Keymap.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>
#include <ranges>

namespace tavrik {

namespace {

using Context =
    std::unique_ptr<xkb_context, decltype([](xkb_context* context) { xkb_context_unref(context); })>;
using State = std::unique_ptr<xkb_state, decltype([](xkb_state* state) { xkb_state_unref(state); })>;

auto keycodes(xkb_keymap* keymap) {
    return keymap ? std::views::iota(xkb_keymap_min_keycode(keymap), xkb_keymap_max_keycode(keymap) + 1)
                  : std::views::iota(0U, 0U);
}

template<class Predicate>
std::optional<quint8> findKey(xkb_keymap* keymap, const Predicate& predicate) {
    const auto keys = keycodes(keymap);
    const auto found = std::ranges::find_if(keys, predicate);
    return found == keys.end() ? std::nullopt : std::optional(static_cast<quint8>(*found));
}

} // namespace

void X11Keymap::Unref::operator()(xkb_keymap* keymap) const {
    xkb_keymap_unref(keymap);
}

X11Keymap X11Keymap::fetch(xcb_connection_t* connection) {
    const Context context(xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
    // By default it writes to the standard error output.
    xkb_context_set_log_fn(context.get(), [](xkb_context*, xkb_log_level, const char*, va_list) {});
    const auto device = xkb_x11_get_core_keyboard_device_id(connection);
    return X11Keymap(
        xkb_x11_keymap_new_from_device(context.get(), connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

bool X11Keymap::hasKeysym(quint32 keycode, quint32 group, quint32 keysym) const {
    const xkb_keysym_t* keysyms = nullptr;
    const auto count = xkb_keymap_key_get_syms_by_level(m_keymap.get(), keycode, group, 0, &keysyms);
    return count == 1 && *keysyms == keysym;
}

quint8 X11Keymap::modifiersOf(quint32 keycode, quint32 group) const {
    // The keymap does not tell a key's modifiers: a keyboard on which nothing else is down does.
    const State state(xkb_state_new(m_keymap.get()));
    xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, group);
    xkb_state_update_key(state.get(), keycode, XKB_KEY_DOWN);
    // The real modifiers are the lowest eight bits.
    return xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_EFFECTIVE) & 0xff;
}

std::optional<quint8> X11Keymap::keyFor(quint32 keysym, size_t group) const {
    return findKey(m_keymap.get(),
                   [&](auto key) { return hasKeysym(key, static_cast<quint32>(group), keysym); });
}

std::optional<quint8> X11Keymap::keyForModifiers(quint8 mask) const {
    return findKey(m_keymap.get(), [&](auto key) { return (modifiersOf(key, 0) & mask) != 0; });
}

quint8 X11Keymap::modifiersOf(quint8 keycode) const {
    return m_keymap ? modifiersOf(keycode, 0) : 0;
}

quint8 X11Keymap::modifiersFor(std::initializer_list<quint32> keysyms) const {
    for (const auto keysym : keysyms) {
        for (const auto key : keycodes(m_keymap.get())) {
            for (quint32 group = 0; group < xkb_keymap_num_layouts_for_key(m_keymap.get(), key); ++group) {
                const quint8 modifiers = hasKeysym(key, group, keysym) ? modifiersOf(key, group) : 0;
                if (modifiers != 0)
                    return modifiers;
            }
        }
    }
    return 0;
}

quint8 X11Keymap::numLock() const {
    return modifiersFor({XKB_KEY_Num_Lock});
}

} // namespace tavrik
