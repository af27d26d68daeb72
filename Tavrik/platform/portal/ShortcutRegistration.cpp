#include "platform/portal/ShortcutRegistration.h"

#include "platform/KeyRepeat.h"
#include "platform/portal/GlobalShortcutsBackend.h"
#include "platform/portal/GnomeShell.h"
#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalGrants.h"
#include "platform/portal/PortalRequest.h"
#include "platform/portal/PortalSessions.h"
#include "platform/portal/PortalTrigger.h"
#include "platform/portal/ShortcutConflict.h"

#include <QDBusMessage>
#include <QDBusObjectPath>

#include <algorithm>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

const auto sessionInterface = u"org.freedesktop.portal.Session"_s;
const auto portalPath = u"/org/freedesktop/portal/desktop"_s;

const auto notAllowed =
    u"The desktop was not allowed to assign this shortcut. Choose it again to be asked."_s;

const auto noKeys = u"The desktop has assigned no keys to this shortcut."_s;

/// Nobody reads a dialog and answers it in less: such an answer was the desktop's own.
constexpr auto quickestAnswer = 300ms;

/// How long a portal that has ended is given to come back by itself. A press meanwhile is lost.
constexpr auto absence = 200ms;

/// How often in a row a portal is started again that ends before the shortcut is used.
constexpr int mostRevivals = 3;

/// A session that does not live longer is not opened again.
constexpr auto shortestSession = 10s;

} // namespace

ShortcutRegistration::ShortcutRegistration(const Dependencies& dependencies, KeyCombination combination,
                                           PermissionRequest request, HotKeyBackend::Handlers handlers)
    : m_dependencies(dependencies), m_combination(combination),
      m_id(u"dictate-%1-%2"_s.arg(combination.modifiers).arg(combination.keyCode)),
      m_handlers(std::move(handlers)), m_request(request) {
    auto bus = m_dependencies.portal.bus();
    bus.connect({}, portalPath, portalInterface, u"Activated"_s, this, SLOT(activated(QDBusMessage)));
    bus.connect({}, portalPath, portalInterface, u"Deactivated"_s, this, SLOT(deactivated(QDBusMessage)));
    bus.connect({}, portalPath, portalInterface, u"ShortcutsChanged"_s, this,
                SLOT(shortcutsChanged(QDBusMessage)));
    connect(&m_dependencies.portal, &PortalConnection::vanished, this, &ShortcutRegistration::portalVanished);
    connect(&m_dependencies.portal, &PortalConnection::implementationVanished, this,
            &ShortcutRegistration::implementationVanished);
    connect(&m_dependencies.portal, &PortalConnection::appeared, this, &ShortcutRegistration::portalAppeared);
    connect(&m_dependencies.backend, &Service::statusChanged, this, &ShortcutRegistration::followOffer);
    connect(&m_dependencies.repeat, &KeyRepeat::changed, this, &ShortcutRegistration::followRepeat);
    m_silence.setSingleShot(true);
    m_silence.setTimerType(Qt::PreciseTimer);
    m_silence.callOnTimeout(this, [this] { handle(m_hold.timePassed(std::chrono::steady_clock::now())); });
    m_revival.setSingleShot(true);
    m_revival.callOnTimeout(this, [this] { bind(PermissionRequest::once); });
    followOffer();
}

ShortcutRegistration::~ShortcutRegistration() {
    m_attempt.reset();
    if (!m_session.isEmpty())
        m_dependencies.sessions.close(m_session);
}

void ShortcutRegistration::followOffer() {
    switch (m_dependencies.backend.offer()) {
    case GlobalShortcutsBackend::Offer::unknown:
        return;
    case GlobalShortcutsBackend::Offer::missing:
        setStatus(false, m_dependencies.backend.status().reason);
        return settle();
    case GlobalShortcutsBackend::Offer::offered:
        if (!m_attempt && m_session.isEmpty())
            bind(m_request);
    }
}

void ShortcutRegistration::bind(PermissionRequest request) {
    m_request = request;
    m_revival.stop();
    m_attempt = std::make_unique<QObject>();
    askGnomeShell(m_dependencies.portal.bus(), *m_attempt, [this](bool isThere) {
        m_losesReleases = isThere;
        followRepeat();
        m_dependencies.sessions.whenNoneCloses(*m_attempt, [this] { openSession(); });
    });
}

void ShortcutRegistration::openSession() {
    // KDE knows a program without an application id by the token, and 5.27 takes the shortcuts here.
    const QVariantMap options{{u"session_handle_token"_s, u"tavrik"_s},
                              {u"shortcuts"_s, QVariant::fromValue(shortcuts())}};
    PortalRequest::send(m_dependencies.portal, *m_attempt, portalInterface, u"CreateSession"_s, {}, options,
                        [this](const Result<PortalResponse>& response) {
                            if (!response)
                                return endAttempt(false, response.error().description);
                            sessionOpened(*response);
                        });
}

void ShortcutRegistration::sessionOpened(const PortalResponse& response) {
    m_session = response.results.value(u"session_handle"_s).toString();
    if (response.code != PortalResponse::success || m_session.isEmpty()) {
        m_session.clear();
        return endAttempt(false, u"The desktop opened no session for shortcuts."_s);
    }
    m_openedAt = std::chrono::steady_clock::now();
    auto bus = m_dependencies.portal.bus();
    bus.connect({}, m_session, sessionInterface, u"Closed"_s, this, SLOT(sessionClosed()));
    // What is listed works without being bound, which opens System Settings on KDE every time.
    PortalRequest::send(
        m_dependencies.portal, *m_attempt, portalInterface, u"ListShortcuts"_s,
        {QVariant::fromValue(QDBusObjectPath(m_session))}, {}, [this](const Result<PortalResponse>& list) {
            const auto trigger = list ? triggerOf(m_id, list->results.value(u"shortcuts"_s)) : std::nullopt;
            if (trigger && (!trigger->isEmpty() || m_request == PermissionRequest::once))
                useTrigger(*trigger);
            else
                checkPermission();
        });
}

/// Binding makes most desktops ask the user, unless they remember the shortcut.
void ShortcutRegistration::checkPermission() {
    const auto& grants = m_dependencies.grants;
    if (m_request == PermissionRequest::byUser || !grants.wasAskedForShortcut(m_id))
        return bindShortcut();
    const auto goOn = [this](bool granted) {
        if (granted)
            bindShortcut();
        else
            refuse(notAllowed);
    };
    const bool wasGranted = grants.isShortcutGranted(m_id);
    if (!m_losesReleases)
        return goOn(wasGranted);
    // GNOME lists what it remembers only when it is bound.
    askGnomeForShortcut(m_id, *m_attempt, [goOn, wasGranted](std::optional<bool> remembered) {
        goOn(remembered.value_or(wasGranted));
    });
}

void ShortcutRegistration::bindShortcut() {
    auto& grants = m_dependencies.grants;
    QTimer::singleShot(quickestAnswer, m_attempt.get(),
                       [&grants, id = m_id] { grants.setAskedForShortcut(id); });
    PortalRequest::send(
        m_dependencies.portal, *m_attempt, portalInterface, u"BindShortcuts"_s,
        {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(shortcuts()), QString()}, {},
        [this](const Result<PortalResponse>& response) { shortcutBound(response); });
}

/// GNOME's response code says "ended" even when all went well: only the assigned keys count.
void ShortcutRegistration::shortcutBound(const Result<PortalResponse>& response) {
    if (!response)
        return refuse(response.error().description);
    const auto trigger = triggerOf(m_id, response->results.value(u"shortcuts"_s));
    auto& grants = m_dependencies.grants;
    grants.setShortcutGranted(m_id, trigger.has_value());
    if (!trigger)
        return refuse(notAllowed);
    grants.setAskedForShortcut(m_id);
    useTrigger(*trigger);
}

void ShortcutRegistration::useTrigger(const QString& trigger) {
    m_trigger = trigger;
    if (m_trigger.isEmpty())
        return endAttempt(false, noKeys);
    settle();
    checkConflict();
}

void ShortcutRegistration::checkConflict() {
    if (!m_attempt)
        m_attempt = std::make_unique<QObject>();
    findShortcutConflict(m_dependencies.portal.bus(), {m_id, m_trigger, m_combination}, *m_attempt,
                         [this](const QString& conflict) { endAttempt(conflict.isEmpty(), conflict); });
}

/// An attempt is destroyed later, since this is called from within it.
void ShortcutRegistration::endAttempt(bool works, const QString& reason) {
    m_attempt.release()->deleteLater();
    settle();
    setStatus(works, reason);
}

void ShortcutRegistration::refuse(const QString& reason) {
    dropSession();
    endAttempt(false, reason);
}

void ShortcutRegistration::dropSession() {
    if (m_session.isEmpty())
        return;
    auto bus = m_dependencies.portal.bus();
    bus.disconnect({}, m_session, sessionInterface, u"Closed"_s, this, SLOT(sessionClosed()));
    m_dependencies.sessions.close(std::exchange(m_session, {}));
}

bool ShortcutRegistration::isOurs(const QDBusMessage& signal) const {
    const auto arguments = signal.arguments();
    return !m_session.isEmpty() && arguments.value(0).value<QDBusObjectPath>().path() == m_session &&
           arguments.value(1).toString() == m_id;
}

void ShortcutRegistration::activated(const QDBusMessage& signal) {
    if (isOurs(signal))
        handle(m_hold.activated(std::chrono::steady_clock::now()));
}

void ShortcutRegistration::deactivated(const QDBusMessage& signal) {
    if (isOurs(signal))
        handle(m_hold.deactivated());
}

void ShortcutRegistration::shortcutsChanged(const QDBusMessage& signal) {
    const auto arguments = signal.arguments();
    // While it is being bound, the response says the same.
    if (m_attempt || m_session.isEmpty() || arguments.value(0).value<QDBusObjectPath>().path() != m_session)
        return;
    const auto trigger = triggerOf(m_id, arguments.value(1)).value_or(QString());
    if (std::exchange(m_trigger, trigger) == trigger)
        return;
    if (m_trigger.isEmpty())
        setStatus(false, noKeys);
    else
        checkConflict();
    Q_EMIT statusChanged();
}

void ShortcutRegistration::sessionClosed() {
    const bool wasShort = std::chrono::steady_clock::now() - m_openedAt < shortestSession;
    m_session.clear();
    m_trigger.clear();
    m_attempt.reset();
    handle(m_hold.deactivated());
    setStatus(false, u"The desktop has taken this shortcut back."_s);
    if (wasShort)
        settle();
    else
        bind(PermissionRequest::once);
}

void ShortcutRegistration::portalVanished() {
    if (!m_session.isEmpty())
        m_dependencies.sessions.closeOrphan(std::exchange(m_session, {}));
    lose();
}

/// What a portal does is done by a program of the desktop's own, whose end the portal does not notice.
void ShortcutRegistration::implementationVanished() {
    if (m_session.isEmpty())
        return;
    dropSession();
    lose();
}

void ShortcutRegistration::lose() {
    m_trigger.clear();
    m_attempt.reset();
    const bool revives = m_revivals < mostRevivals;
    handle(revives ? m_hold.lost(std::chrono::steady_clock::now()) : m_hold.deactivated());
    setStatus(false, u"The desktop portal has ended."_s);
    if (revives) {
        ++m_revivals;
        m_revival.start(absence);
    } else {
        settle();
    }
}

void ShortcutRegistration::portalAppeared() {
    if (!m_attempt && m_session.isEmpty() &&
        m_dependencies.backend.offer() == GlobalShortcutsBackend::Offer::offered)
        bind(PermissionRequest::once);
}

PortalShortcuts ShortcutRegistration::shortcuts() const {
    return {
        {m_id,
         {{u"description"_s, u"Hold to dictate"_s}, {u"preferred_trigger"_s, portalTrigger(m_combination)}}}};
}

void ShortcutRegistration::setStatus(bool works, const QString& reason) {
    const ServiceStatus status{backendName, works, reason, reason == notAllowed ? u"Ask Again"_s : QString()};
    if (std::exchange(m_status, status) != status)
        Q_EMIT statusChanged();
}

void ShortcutRegistration::settle() {
    if (!std::exchange(m_isSettled, true))
        m_handlers.settled();
}

void ShortcutRegistration::followRepeat() {
    m_hold.setRepeat(m_losesReleases ? std::optional(m_dependencies.repeat.settings()) : std::nullopt);
    updateTimer();
}

void ShortcutRegistration::handle(HoldTracker::Event event) {
    updateTimer();
    switch (event) {
    case HoldTracker::Event::none:
        return;
    case HoldTracker::Event::pressed:
        m_revivals = 0;
        return m_handlers.pressed();
    case HoldTracker::Event::released:
        return m_handlers.released();
    case HoldTracker::Event::pressedAgain:
        m_handlers.released();
        return m_handlers.pressed();
    case HoldTracker::Event::doubted:
        askGnomeShell(m_dependencies.portal.bus(), *this,
                      [this](bool) { handle(m_hold.answered(std::chrono::steady_clock::now())); });
    }
}

void ShortcutRegistration::updateTimer() {
    const auto deadline = m_hold.deadline();
    if (!deadline)
        return m_silence.stop();
    const auto left = *deadline - std::chrono::steady_clock::now();
    m_silence.start(std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(left)));
}

} // namespace tavrik
