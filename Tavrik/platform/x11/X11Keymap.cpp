#include "platform/x11/X11Keymap.h"

#include "platform/x11/XcbXkb.h"

#include <X11/keysym.h>

#include <algorithm>

namespace tavrik {

namespace {

// A key with fewer groups than the layout says itself what it does in the others.
size_t effectiveGroup(size_t group, quint8 groupInfo) {
    const size_t count = groupInfo & 0x0f;
    if (group < count)
        return group;
    if ((groupInfo & XCB_XKB_GROUPS_WRAP_REDIRECT_INTO_RANGE) != 0) {
        const size_t target = (groupInfo >> 4) & 3;
        return target < count ? target : 0;
    }
    return (groupInfo & XCB_XKB_GROUPS_WRAP_CLAMP_INTO_RANGE) != 0 ? count - 1 : group % count;
}

} // namespace

X11Keymap X11Keymap::fetch(xcb_connection_t* connection) {
    constexpr auto parts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    const XcbPointer<xcb_xkb_get_map_reply_t> reply(
        xcb_xkb_get_map_reply(connection,
                              xcb_xkb_get_map(connection, XCB_XKB_ID_USE_CORE_KBD, parts, 0, 0, 0, 0, 0, 0, 0,
                                              0, 0, 0, 0, 0, 0, 0, 0, 0),
                              nullptr));
    X11Keymap keymap;
    if (!reply)
        return keymap;

    xcb_xkb_get_map_map_t map;
    xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(reply.get()), reply->nTypes, reply->nKeySyms,
                               reply->nKeyActions, reply->totalActions, reply->totalKeyBehaviors,
                               reply->virtualMods, reply->totalKeyExplicit, reply->totalModMapKeys,
                               reply->totalVModMapKeys, reply->present, &map);

    size_t keycode = reply->firstKeySym;
    for (auto it = xcb_xkb_get_map_map_syms_rtrn_iterator(reply.get(), &map); it.rem > 0;
         xcb_xkb_key_sym_map_next(&it), ++keycode) {
        if ((it.data->groupInfo & 0x0f) == 0 || it.data->nSyms == 0)
            continue;
        const auto* keysyms = xcb_xkb_key_sym_map_syms(it.data);
        for (size_t group = 0; group < groupCount; ++group)
            keymap.m_keysyms[keycode][group] =
                keysyms[effectiveGroup(group, it.data->groupInfo) * it.data->width];
    }
    for (auto it = xcb_xkb_get_map_map_modmap_rtrn_iterator(reply.get(), &map); it.rem > 0;
         xcb_xkb_key_mod_map_next(&it))
        keymap.m_modifiers[it.data->keycode] = it.data->mods;
    return keymap;
}

std::optional<quint8> X11Keymap::keyFor(quint32 keysym, size_t group) const {
    const auto found =
        std::ranges::find_if(m_keysyms, [=](const auto& keysyms) { return keysyms[group] == keysym; });
    if (found == m_keysyms.end())
        return std::nullopt;
    return static_cast<quint8>(found - m_keysyms.begin());
}

std::optional<quint8> X11Keymap::keyForModifiers(quint8 mask) const {
    const auto found = std::ranges::find_if(m_modifiers, [mask](quint8 mods) { return (mods & mask) != 0; });
    if (found == m_modifiers.end())
        return std::nullopt;
    return static_cast<quint8>(found - m_modifiers.begin());
}

quint8 X11Keymap::modifiersFor(std::initializer_list<quint32> keysyms) const {
    for (const auto keysym : keysyms)
        for (size_t keycode = 0; keycode < m_keysyms.size(); ++keycode)
            if (m_modifiers[keycode] != 0 && std::ranges::count(m_keysyms[keycode], keysym) > 0)
                return m_modifiers[keycode];
    return 0;
}

quint8 X11Keymap::numLock() const {
    return modifiersFor({XK_Num_Lock});
}

} // namespace tavrik
