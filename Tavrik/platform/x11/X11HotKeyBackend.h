#pragma once

#include "platform/HotKeyBackend.h"

namespace tavrik {

class X11Keyboard;

/// Passive grabs on the root window. Survives changes of the keyboard's map.
class X11HotKeyBackend : public HotKeyBackend {
public:
    /// The keyboard must outlive the registrations too.
    explicit X11HotKeyBackend(X11Keyboard& keyboard);

    ServiceStatus status() const override;
    std::unique_ptr<Registration> registerHotKey(KeyCombination combination, PermissionRequest request,
                                                 Handlers handlers) override;

private:
    X11Keyboard& m_keyboard;
};

} // namespace tavrik
