#include "platform/wayland/WaylandPointer.h"

#include <wayland-client-protocol.h>

namespace tavrik {

void WaylandDestroy::operator()(wl_callback* object) const {
    wl_callback_destroy(object);
}

void WaylandDestroy::operator()(wl_keyboard* object) const {
    wl_keyboard_release(object);
}

void WaylandDestroy::operator()(wl_registry* object) const {
    wl_registry_destroy(object);
}

void WaylandDestroy::operator()(wl_seat* object) const {
    wl_seat_destroy(object);
}

} // namespace tavrik
