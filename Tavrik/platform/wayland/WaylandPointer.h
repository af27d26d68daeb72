#pragma once

#include <memory>

struct wl_callback;
struct wl_keyboard;
struct wl_registry;
struct wl_seat;

namespace tavrik {

/// Destroys a protocol object, at the compositor too where the protocol has a request for that.
struct WaylandDestroy {
    void operator()(wl_callback* object) const;
    void operator()(wl_keyboard* object) const;
    void operator()(wl_registry* object) const;
    void operator()(wl_seat* object) const;
};

/// Owns a protocol object.
template<class T>
using WaylandPointer = std::unique_ptr<T, WaylandDestroy>;

} // namespace tavrik
