#include "platform/wayland/WaylandKeyboard.h"

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client-protocol.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace tavrik {

WaylandKeyboard::WaylandKeyboard(WaylandConnection& connection) : m_connection(connection) {
    // The first version whose keyboards tell it.
    if (connection.version(wl_seat_interface) < 4)
        return;
    static constexpr wl_seat_listener listener{
        .capabilities =
            [](void* self, wl_seat*, uint32_t capabilities) {
                static_cast<WaylandKeyboard*>(self)->useKeyboard(
                    (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0);
            },
        .name = [](void*, wl_seat*, const char*) {},
    };
    m_seat = connection.bind<wl_seat>(wl_seat_interface, 4);
    wl_seat_add_listener(m_seat.get(), &listener, this);
    connection.flush();
}

WaylandKeyboard::~WaylandKeyboard() {
    keepKeymap(-1, 0);
}

void WaylandKeyboard::useKeyboard(bool present) {
    if (!present)
        return m_keyboard.reset();
    if (m_keyboard)
        return;
    static constexpr wl_keyboard_listener listener{
        .keymap = [](void* self, wl_keyboard*, uint32_t, int32_t descriptor,
                     uint32_t size) { static_cast<WaylandKeyboard*>(self)->keepKeymap(descriptor, size); },
        .enter = [](void*, wl_keyboard*, uint32_t, wl_surface*, wl_array*) {},
        .leave = [](void*, wl_keyboard*, uint32_t, wl_surface*) {},
        .key = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t) {},
        .modifiers = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {},
        .repeat_info = [](void* self, wl_keyboard*, int32_t rate,
                          int32_t delay) { static_cast<WaylandKeyboard*>(self)->repeatChanged(rate, delay); },
    };
    m_keyboard.reset(wl_seat_get_keyboard(m_seat.get()));
    wl_keyboard_add_listener(m_keyboard.get(), &listener, this);
    m_connection.flush();
}

// Read only when it is asked for: it takes a few milliseconds.
void WaylandKeyboard::keepKeymap(int descriptor, quint32 size) {
    if (m_keymapFile >= 0)
        ::close(m_keymapFile);
    m_keymapFile = descriptor;
    m_keymapSize = size;
    m_keys.clear();
}

std::optional<quint32> WaylandKeyboard::keyFor(quint32 keysym) {
    if (!m_keys.contains(keysym))
        m_keys.insert(keysym, lookUp(keysym));
    return m_keys.value(keysym);
}

std::optional<quint32> WaylandKeyboard::lookUp(quint32 keysym) const {
    if (m_keymapSize == 0)
        return {};
    void* mapped = ::mmap(nullptr, m_keymapSize, PROT_READ, MAP_PRIVATE, m_keymapFile, 0);
    if (mapped == MAP_FAILED)
        return {};
    // Without the null character that ends it.
    const std::string_view text(static_cast<const char*>(mapped), m_keymapSize - 1);
    const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
        xkb_context_new(XKB_CONTEXT_NO_FLAGS), &xkb_context_unref);
    const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
        xkb_keymap_new_from_buffer(context.get(), text.data(), text.size(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                   XKB_KEYMAP_COMPILE_NO_FLAGS),
        &xkb_keymap_unref);
    ::munmap(mapped, m_keymapSize);
    if (!keymap)
        return {};
    constexpr xkb_keycode_t evdevOffset = 8;
    const auto last = xkb_keymap_max_keycode(keymap.get());
    for (xkb_layout_index_t layout = 0; layout < xkb_keymap_num_layouts(keymap.get()); ++layout) {
        for (auto key = std::max(xkb_keymap_min_keycode(keymap.get()), evdevOffset); key <= last; ++key) {
            const xkb_keysym_t* keysyms = nullptr;
            if (xkb_keymap_key_get_syms_by_level(keymap.get(), key, layout, 0, &keysyms) == 1 &&
                *keysyms == keysym)
                return key - evdevOffset;
        }
    }
    return {};
}

void WaylandKeyboard::repeatChanged(int rate, int delay) {
    Settings now;
    now.enabled = rate > 0;
    if (now.enabled) {
        now.delay = std::chrono::milliseconds(delay);
        now.interval = std::chrono::milliseconds(1000 / rate);
    }
    setSettings(now);
}

} // namespace tavrik
