#pragma once

#include "platform/PasteKeys.h"
#include "platform/portal/ModifierRelease.h"
#include "platform/portal/RemoteDesktopSession.h"

#include <QTimer>

#include <memory>
#include <optional>
#include <vector>

namespace tavrik {

class PortalConnection;
class PortalGrants;

/// Pastes through the RemoteDesktop portal. The user allows it once, in a dialog of the desktop; the token
/// that the desktop gives then opens a session for each paste without one. No session stays open, since
/// while one is the desktop shows that somebody controls the computer.
///
/// This portal neither reports nor lifts modifiers that the user holds, and with one of them down nothing is
/// pasted: a paste waits until those of the shortcut seem to be up.
class RemoteDesktopPasteKeys final : public PasteKeys {
    Q_OBJECT

public:
    /// `offerSelection` is called before each paste, to make the text the selection as well: most terminals
    /// paste that, and which program has the focus is not known here. The others outlive this.
    RemoteDesktopPasteKeys(PortalConnection& portal, PortalGrants& grants,
                           std::function<void()> offerSelection);
    ~RemoteDesktopPasteKeys() override;

    ServiceStatus status() const override;
    void requestPermission(PermissionRequest request, std::function<void()> answered) override;
    void sendPaste(Completion<void> completion) override;

private:
    void askVersion();
    void answerRequests();
    void ask();
    void endAsking();
    void checkToken(QObject& owner, std::function<void()> checked);
    void setToken(const QString& token, bool isForgotten);
    void openSession();
    void opened(const Result<RemoteDesktopSession::Opening>& opening);
    void breakOffPaste(const Error& reason);
    void endPaste(const Result<void>& outcome);

    PortalConnection& m_portal;
    PortalGrants& m_grants;
    const std::function<void()> m_offerSelection;
    ModifierRelease m_modifiers;
    /// The version of the portal's interface, 0 if it is not offered; nothing before the portal has answered.
    std::optional<uint> m_version;
    /// The desktop has forgotten the token.
    bool m_isForgotten = false;
    /// The portal, or the program behind it, has ended since the last session.
    bool m_mustStart = false;

    bool m_isAsking = false;
    bool m_isAskedByUser = false;
    std::vector<std::function<void()>> m_answered;
    /// That of the dialog or of a paste: never both.
    std::unique_ptr<RemoteDesktopSession> m_session;
    /// The pastes that wait for the keys; they are sent once for all.
    std::vector<Completion<void>> m_pasting;
    QTimer m_bound;
};

} // namespace tavrik
