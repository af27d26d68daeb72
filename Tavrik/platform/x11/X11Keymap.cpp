#include "platform/x11/X11Keymap.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>
#include <memory>

namespace tavrik {

namespace {

template<auto unref>
struct Unref {
    void operator()(auto* object) const { unref(object); }
};
using Context = std::unique_ptr<xkb_context, Unref<xkb_context_unref>>;
using Keymap = std::unique_ptr<xkb_keymap, Unref<xkb_keymap_unref>>;
using State = std::unique_ptr<xkb_state, Unref<xkb_state_unref>>;

quint32 keysymOf(xkb_keymap* keymap, quint32 keycode, quint32 group) {
    const xkb_keysym_t* keysyms = nullptr;
    const auto count = xkb_keymap_key_get_syms_by_level(keymap, keycode, group, 0, &keysyms);
    return count == 1 ? *keysyms : XKB_KEY_NoSymbol;
}

quint8 modifiersOf(xkb_keymap* keymap, quint32 keycode, quint32 group) {
    // The keymap does not tell a key's modifiers: a keyboard on which nothing else is down does.
    const State state(xkb_state_new(keymap));
    xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, group);
    xkb_state_update_key(state.get(), keycode, XKB_KEY_DOWN);
    // The real modifiers are the lowest eight bits.
    return xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_EFFECTIVE) & 0xff;
}

} // namespace

X11Keymap X11Keymap::fetch(xcb_connection_t* connection) {
    const Context context(xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
    // By default it writes to the standard error output.
    xkb_context_set_log_fn(context.get(), [](xkb_context*, xkb_log_level, const char*, va_list) {});
    const auto device = xkb_x11_get_core_keyboard_device_id(connection);
    const Keymap keymap(
        xkb_x11_keymap_new_from_device(context.get(), connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS));
    X11Keymap result;
    if (!keymap)
        return result;
    const auto groups = xkb_keymap_num_layouts(keymap.get());
    for (auto key = xkb_keymap_min_keycode(keymap.get()); key <= xkb_keymap_max_keycode(keymap.get());
         ++key) {
        if (xkb_keymap_num_layouts_for_key(keymap.get(), key) == 0)
            continue;
        // In the groups that it lacks a key means what it does in another.
        for (quint32 group = 0; group < groups; ++group)
            result.m_meanings.push_back({.keycode = static_cast<quint8>(key),
                                         .group = static_cast<quint8>(group),
                                         .modifiers = tavrik::modifiersOf(keymap.get(), key, group),
                                         .keysym = keysymOf(keymap.get(), key, group)});
    }
    result.m_meanings.shrink_to_fit();
    return result;
}

std::optional<quint8> X11Keymap::keyFor(quint32 keysym, size_t group) const {
    const auto found = std::ranges::find_if(m_meanings, [&](const Meaning& meaning) {
        return meaning.group == group && meaning.keysym == keysym;
    });
    return found == m_meanings.end() ? std::nullopt : std::optional(found->keycode);
}

std::optional<quint8> X11Keymap::keyForModifiers(quint8 mask) const {
    const auto found = std::ranges::find_if(m_meanings, [&](const Meaning& meaning) {
        return meaning.group == 0 && (meaning.modifiers & mask) != 0;
    });
    return found == m_meanings.end() ? std::nullopt : std::optional(found->keycode);
}

quint8 X11Keymap::modifiersOf(quint8 keycode) const {
    const auto found = std::ranges::find(m_meanings, keycode, &Meaning::keycode);
    return found == m_meanings.end() ? 0 : found->modifiers;
}

quint8 X11Keymap::modifiersFor(std::initializer_list<quint32> keysyms) const {
    for (const auto keysym : keysyms) {
        const auto found = std::ranges::find_if(m_meanings, [&](const Meaning& meaning) {
            return meaning.keysym == keysym && meaning.modifiers != 0;
        });
        if (found != m_meanings.end())
            return found->modifiers;
    }
    return 0;
}

quint8 X11Keymap::numLock() const {
    return modifiersFor({XKB_KEY_Num_Lock});
}

} // namespace tavrik
