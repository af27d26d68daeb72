#pragma once

#include "platform/HotKeyBackend.h"
#include "platform/portal/PortalSessions.h"

namespace tavrik {

class KeyRepeat;
class PortalConnection;
class PortalGrants;

/// Shortcuts that the desktop assigns, by the GlobalShortcuts portal. Every combination is a shortcut of its
/// own there, since what the desktop has stored for a shortcut beats what the program prefers. A portal that
/// ends and comes back is asked again, without a question to the user.
class GlobalShortcutsBackend final : public HotKeyBackend {
    Q_OBJECT

public:
    enum class Offer { unknown, offered, missing };

    /// All must outlive the registrations too. Asks at once whether there is such a portal, which takes the
    /// desktop a moment.
    GlobalShortcutsBackend(PortalConnection& portal, PortalGrants& grants, KeyRepeat& repeat);

    /// Whether the desktop has the portal; statusChanged() tells of a change.
    Offer offer() const { return m_offer; }

    ServiceStatus status() const override;

    /// While it is unknown whether there is a portal, and where there is none, the registration waits for
    /// one.
    std::unique_ptr<Registration> registerHotKey(KeyCombination combination, PermissionRequest request,
                                                 Handlers handlers) override;

private:
    void askOffer();

    PortalConnection& m_portal;
    PortalSessions m_sessions;
    PortalGrants& m_grants;
    KeyRepeat& m_repeat;
    Offer m_offer = Offer::unknown;
};

} // namespace tavrik
