#include "platform/wayland/WaylandPointer.h"

#include "protocols/ext-data-control-v1.h"
#include "protocols/fake-input.h"
#include "protocols/keystate.h"
#include "protocols/plasma-window-management.h"
#include "protocols/virtual-keyboard-unstable-v1.h"
#include "protocols/wlr-data-control-unstable-v1.h"
#include "protocols/wlr-foreign-toplevel-management-unstable-v1.h"

#include <wayland-client-protocol.h>

namespace tavrik {

void WaylandDestroy::operator()(ext_data_control_device_v1* object) const {
    ext_data_control_device_v1_destroy(object);
}

void WaylandDestroy::operator()(ext_data_control_manager_v1* object) const {
    ext_data_control_manager_v1_destroy(object);
}

void WaylandDestroy::operator()(ext_data_control_offer_v1* object) const {
    ext_data_control_offer_v1_destroy(object);
}

void WaylandDestroy::operator()(ext_data_control_source_v1* object) const {
    ext_data_control_source_v1_destroy(object);
}

void WaylandDestroy::operator()(org_kde_kwin_fake_input* object) const {
    org_kde_kwin_fake_input_destroy(object);
}

void WaylandDestroy::operator()(org_kde_kwin_keystate* object) const {
    org_kde_kwin_keystate_destroy(object);
}

void WaylandDestroy::operator()(org_kde_plasma_window* object) const {
    org_kde_plasma_window_destroy(object);
}

void WaylandDestroy::operator()(org_kde_plasma_window_management* object) const {
    org_kde_plasma_window_management_destroy(object);
}

void WaylandDestroy::operator()(wl_callback* object) const {
    wl_callback_destroy(object);
}

void WaylandDestroy::operator()(wl_keyboard* object) const {
    wl_keyboard_release(object);
}

void WaylandDestroy::operator()(wl_output* object) const {
    if (wl_output_get_version(object) >= WL_OUTPUT_RELEASE_SINCE_VERSION)
        wl_output_release(object);
    else
        wl_output_destroy(object);
}

void WaylandDestroy::operator()(wl_registry* object) const {
    wl_registry_destroy(object);
}

void WaylandDestroy::operator()(wl_seat* object) const {
    wl_seat_destroy(object);
}

void WaylandDestroy::operator()(zwlr_data_control_device_v1* object) const {
    zwlr_data_control_device_v1_destroy(object);
}

void WaylandDestroy::operator()(zwlr_data_control_manager_v1* object) const {
    zwlr_data_control_manager_v1_destroy(object);
}

void WaylandDestroy::operator()(zwlr_data_control_offer_v1* object) const {
    zwlr_data_control_offer_v1_destroy(object);
}

void WaylandDestroy::operator()(zwlr_data_control_source_v1* object) const {
    zwlr_data_control_source_v1_destroy(object);
}

void WaylandDestroy::operator()(zwlr_foreign_toplevel_handle_v1* object) const {
    zwlr_foreign_toplevel_handle_v1_destroy(object);
}

void WaylandDestroy::operator()(zwlr_foreign_toplevel_manager_v1* object) const {
    zwlr_foreign_toplevel_manager_v1_destroy(object);
}

void WaylandDestroy::operator()(zwp_virtual_keyboard_manager_v1* object) const {
    zwp_virtual_keyboard_manager_v1_destroy(object);
}

void WaylandDestroy::operator()(zwp_virtual_keyboard_v1* object) const {
    zwp_virtual_keyboard_v1_destroy(object);
}

} // namespace tavrik
