#pragma once

#include "platform/HotKeyBackend.h"

#include <QDBusConnection>

namespace tavrik {

/// For a desktop whose portal has no shortcuts, but whose settings daemon is GNOME's: that runs a command at
/// a custom shortcut, which can begin and end a dictation but not be held. It is set on the user's wish only.
/// Elsewhere the registrations are those of another backend.
class GnomeCustomShortcut final : public HotKeyBackend {
public:
    GnomeCustomShortcut(QDBusConnection bus, std::unique_ptr<HotKeyBackend> elsewhere);

    ServiceStatus status() const override;
    std::unique_ptr<Registration> registerHotKey(KeyCombination combination, PermissionRequest request,
                                                 Handlers handlers) override;

private:
    const QDBusConnection m_bus;
    const std::unique_ptr<HotKeyBackend> m_elsewhere;
};

} // namespace tavrik
