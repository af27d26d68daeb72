#include "platform/wayland/WaylandKeyRepeat.h"

#include <unistd.h>
#include <wayland-client-protocol.h>

namespace tavrik {

WaylandKeyRepeat::WaylandKeyRepeat(WaylandConnection& connection) : m_connection(connection) {
    // The first version whose keyboards tell it.
    if (connection.version(wl_seat_interface) < 4)
        return;
    static constexpr wl_seat_listener listener{
        .capabilities =
            [](void* self, wl_seat*, uint32_t capabilities) {
                static_cast<WaylandKeyRepeat*>(self)->useKeyboard(
                    (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0);
            },
        .name = [](void*, wl_seat*, const char*) {},
    };
    m_seat = connection.bind<wl_seat>(wl_seat_interface, 4);
    wl_seat_add_listener(m_seat.get(), &listener, this);
    connection.flush();
}

void WaylandKeyRepeat::useKeyboard(bool present) {
    if (!present)
        return m_keyboard.reset();
    if (m_keyboard)
        return;
    static constexpr wl_keyboard_listener listener{
        .keymap = [](void*, wl_keyboard*, uint32_t, int32_t descriptor, uint32_t) { ::close(descriptor); },
        .enter = [](void*, wl_keyboard*, uint32_t, wl_surface*, wl_array*) {},
        .leave = [](void*, wl_keyboard*, uint32_t, wl_surface*) {},
        .key = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t) {},
        .modifiers = [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {},
        .repeat_info =
            [](void* self, wl_keyboard*, int32_t rate, int32_t delay) {
                static_cast<WaylandKeyRepeat*>(self)->repeatChanged(rate, delay);
            },
    };
    m_keyboard.reset(wl_seat_get_keyboard(m_seat.get()));
    wl_keyboard_add_listener(m_keyboard.get(), &listener, this);
    m_connection.flush();
}

void WaylandKeyRepeat::repeatChanged(int rate, int delay) {
    Settings now;
    now.enabled = rate > 0;
    if (now.enabled) {
        now.delay = std::chrono::milliseconds(delay);
        now.interval = std::chrono::milliseconds(1000 / rate);
    }
    setSettings(now);
}

} // namespace tavrik
