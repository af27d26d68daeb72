#pragma once

#include "platform/HotKeyBackend.h"

namespace tavrik {

class X11Keyboard;

/// Passive grabs on the root window. Survives changes of the keyboard's map.
class X11HotKeyBackend : public HotKeyBackend {
public:
    /// The keyboard must outlive the registrations too. `restriction` tells the user what a grab does not do
    /// here; empty if there is nothing to tell.
    explicit X11HotKeyBackend(X11Keyboard& keyboard, QString restriction = {});

    ServiceStatus status() const override;
    std::unique_ptr<Registration> registerHotKey(KeyCombination combination, PermissionRequest request,
                                                 Handlers handlers) override;

private:
    X11Keyboard& m_keyboard;
    const QString m_restriction;
};

} // namespace tavrik
