#pragma once

#include "base/Result.h"
#include "platform/HotKeyBackend.h"
#include "platform/portal/HoldTracker.h"
#include "platform/portal/PortalShortcut.h"

#include <QTimer>

#include <chrono>
#include <memory>

class QDBusMessage;

namespace tavrik {

class GlobalShortcutsBackend;
class KeyRepeat;
class PortalConnection;
class PortalGrants;
class PortalSessions;
struct PortalResponse;

/// One combination. It has a session while it is bound, and an attempt while it is being bound.
class ShortcutRegistration final : public HotKeyBackend::Registration {
    Q_OBJECT

public:
    inline static const QString backendName = QStringLiteral("GlobalShortcuts portal");
    inline static const QString portalInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

    /// All outlive the registration.
    struct Dependencies {
        const GlobalShortcutsBackend& backend;
        PortalConnection& portal;
        PortalSessions& sessions;
        PortalGrants& grants;
        KeyRepeat& repeat;
    };

    ShortcutRegistration(const Dependencies& dependencies, KeyCombination combination,
                         PermissionRequest request, HotKeyBackend::Handlers handlers);
    ~ShortcutRegistration() override;

    ServiceStatus status() const override { return m_status; }
    QString assignedTrigger() const override { return m_trigger; }
    bool endsOnSecondPress() const override { return m_hold.mayMissRelease(); }
    void setRecording(bool recording) override { m_hold.setRecording(recording); }

private Q_SLOTS:
    void activated(const QDBusMessage& signal);
    void deactivated(const QDBusMessage& signal);
    void shortcutsChanged(const QDBusMessage& signal);
    void sessionClosed();

private:
    void followOffer();
    void bind(PermissionRequest request);
    void openSession();
    void sessionOpened(const PortalResponse& response);
    void checkPermission();
    void bindShortcut();
    void shortcutBound(const Result<PortalResponse>& response);
    void useTrigger(const QString& trigger);
    void checkConflict();
    void endAttempt(bool works, const QString& reason);
    void refuse(const QString& reason);
    void dropSession();
    void portalVanished();
    void implementationVanished();
    void lose();
    void portalAppeared();

    bool isOurs(const QDBusMessage& signal) const;
    PortalShortcuts shortcuts() const;
    void setStatus(bool works, const QString& reason);
    void settle();

    void followRepeat();
    void handle(HoldTracker::Event event);
    void updateTimer();

    const Dependencies m_dependencies;
    const KeyCombination m_combination;
    const QString m_id;
    const HotKeyBackend::Handlers m_handlers;
    PermissionRequest m_request;
    bool m_isSettled = false;

    /// Owns what is asked on the way to the binding; null when nothing is.
    std::unique_ptr<QObject> m_attempt;
    /// The session's path; empty without one.
    QString m_session;
    std::chrono::steady_clock::time_point m_openedAt;
    int m_revivals = 0;
    QTimer m_revival;
    QString m_trigger;
    ServiceStatus m_status{backendName, false,
                           QStringLiteral("The desktop has not assigned this shortcut yet.")};

    bool m_losesReleases = false;
    HoldTracker m_hold;
    QTimer m_silence;
};

} // namespace tavrik
