#pragma once

#include <memory>

struct ext_data_control_device_v1;
struct ext_data_control_manager_v1;
struct ext_data_control_offer_v1;
struct ext_data_control_source_v1;
struct org_kde_kwin_fake_input;
struct org_kde_kwin_keystate;
struct org_kde_plasma_window;
struct org_kde_plasma_window_management;
struct wl_callback;
struct wl_keyboard;
struct wl_output;
struct wl_registry;
struct wl_seat;
struct zwlr_data_control_device_v1;
struct zwlr_data_control_manager_v1;
struct zwlr_data_control_offer_v1;
struct zwlr_data_control_source_v1;
struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_manager_v1;
struct zwp_virtual_keyboard_manager_v1;
struct zwp_virtual_keyboard_v1;

namespace tavrik {

/// Destroys a protocol object, at the compositor too where the protocol has a request for that.
struct WaylandDestroy {
    void operator()(ext_data_control_device_v1* object) const;
    void operator()(ext_data_control_manager_v1* object) const;
    void operator()(ext_data_control_offer_v1* object) const;
    void operator()(ext_data_control_source_v1* object) const;
    void operator()(org_kde_kwin_fake_input* object) const;
    void operator()(org_kde_kwin_keystate* object) const;
    void operator()(org_kde_plasma_window* object) const;
    void operator()(org_kde_plasma_window_management* object) const;
    void operator()(wl_callback* object) const;
    void operator()(wl_keyboard* object) const;
    void operator()(wl_output* object) const;
    void operator()(wl_registry* object) const;
    void operator()(wl_seat* object) const;
    void operator()(zwlr_data_control_device_v1* object) const;
    void operator()(zwlr_data_control_manager_v1* object) const;
    void operator()(zwlr_data_control_offer_v1* object) const;
    void operator()(zwlr_data_control_source_v1* object) const;
    void operator()(zwlr_foreign_toplevel_handle_v1* object) const;
    void operator()(zwlr_foreign_toplevel_manager_v1* object) const;
    void operator()(zwp_virtual_keyboard_manager_v1* object) const;
    void operator()(zwp_virtual_keyboard_v1* object) const;
};

/// Owns a protocol object.
template<class T>
using WaylandPointer = std::unique_ptr<T, WaylandDestroy>;

} // namespace tavrik
