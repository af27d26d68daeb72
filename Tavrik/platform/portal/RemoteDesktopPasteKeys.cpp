#include "platform/portal/RemoteDesktopPasteKeys.h"

#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalGrants.h"
#include "platform/portal/RemoteDesktopSession.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <linux/input-event-codes.h>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

constexpr uint firstVersionThatRemembers = 2;

// A paste takes some 20 ms. One that takes this long may be about to show a dialog.
constexpr auto patience = 1s;
// For a portal that has ended and must be started first.
constexpr auto patienceWithStart = 5s;

const auto beingAsked = u"The desktop is asking whether Tavrik may paste."_s;

// Key codes, since a keysym is only found if the active layout has it: a Persian one has no "v". Shift and
// Insert are in the same place in every layout, and paste in terminals too.
constexpr std::array pasteKeys{
    RemoteDesktopSession::KeyEvent{KEY_LEFTSHIFT, true},
    RemoteDesktopSession::KeyEvent{KEY_INSERT, true},
    RemoteDesktopSession::KeyEvent{KEY_INSERT, false},
    RemoteDesktopSession::KeyEvent{KEY_LEFTSHIFT, false},
};

} // namespace

RemoteDesktopPasteKeys::RemoteDesktopPasteKeys(PortalConnection& portal, PortalGrants& grants,
                                               std::function<void()> offerSelection)
    : m_portal(portal), m_grants(grants), m_offerSelection(std::move(offerSelection)),
      m_modifiers(portal.bus()) {
    m_bound.setSingleShot(true);
    connect(&m_bound, &QTimer::timeout, this,
            [this] { breakOffPaste(Error{u"The desktop did not paste in time."_s}); });
    const auto mustStart = [this] {
        m_mustStart = true;
        m_modifiers.portalVanished();
    };
    connect(&portal, &PortalConnection::vanished, this, mustStart);
    connect(&portal, &PortalConnection::implementationVanished, this, mustStart);
    connect(&portal, &PortalConnection::appeared, this, [this] {
        if (m_version == 0U)
            askVersion();
    });
    askVersion();
}

RemoteDesktopPasteKeys::~RemoteDesktopPasteKeys() = default;

void RemoteDesktopPasteKeys::askVersion() {
    m_portal.askVersion(u"org.freedesktop.portal.RemoteDesktop"_s, *this, [this](uint version) {
        if (m_version == version)
            return;
        m_version = version;
        Q_EMIT statusChanged();
        answerRequests();
    });
}

ServiceStatus RemoteDesktopPasteKeys::status() const {
    const auto backend = u"RemoteDesktop portal"_s;
    if (!m_version)
        return {backend, false, u"The desktop has not said yet whether Tavrik may paste."_s};
    if (m_version == 0U)
        return {backend, false, u"This desktop lets no program paste into another."_s};
    if (m_version < firstVersionThatRemembers)
        return {backend, false, u"This desktop would ask for permission at every paste."_s};
    if (m_isForgotten)
        return {backend, false, u"Tavrik may no longer paste. Allow it in the settings."_s, u"Ask Again"_s};
    if (m_grants.pasteToken().isEmpty())
        return {backend, false, u"Tavrik may not paste. Allow it in the settings."_s, u"Ask Again"_s};
    return {backend, true};
}

void RemoteDesktopPasteKeys::requestPermission(PermissionRequest request, std::function<void()> answered) {
    m_answered.push_back(std::move(answered));
    m_isAskedByUser = m_isAskedByUser || request == PermissionRequest::byUser;
    answerRequests();
}

/// Once it is known what the portal can do.
void RemoteDesktopPasteKeys::answerRequests() {
    if (!m_version || m_isAsking || m_answered.empty())
        return;
    const auto mayAsk = m_version >= firstVersionThatRemembers;
    const auto hasToken = !m_grants.pasteToken().isEmpty();
    if (mayAsk && (m_isAskedByUser || (!hasToken && !m_grants.wasAskedForPasting()))) {
        ask();
    } else if (mayAsk && hasToken) {
        m_isAsking = true;
        checkToken(*this, [this] { endAsking(); });
    } else {
        endAsking();
    }
}

void RemoteDesktopPasteKeys::ask() {
    m_isAsking = true;
    breakOffPaste(Error{beingAsked});
    m_session = std::make_unique<RemoteDesktopSession>(m_portal, this);
    m_session->open(m_grants.pasteToken(), [this](const Result<RemoteDesktopSession::Opening>& opening) {
        m_session.release()->deleteLater();
        if (opening) {
            m_grants.setAskedForPasting();
            setToken(opening->allowed ? opening->nextToken : QString(), false);
        }
        endAsking();
    });
}

void RemoteDesktopPasteKeys::endAsking() {
    m_isAsking = false;
    m_isAskedByUser = false;
    for (const auto& answered : std::exchange(m_answered, {}))
        answered();
}

/// Looks whether the desktop still knows the token: with one that it has forgotten it would show its dialog.
/// Where it cannot be looked up, only a paste tells. `checked` is not called once the owner is gone.
void RemoteDesktopPasteKeys::checkToken(QObject& owner, std::function<void()> checked) {
    const auto store = u"org.freedesktop.impl.portal.PermissionStore"_s;
    auto lookup = QDBusMessage::createMethodCall(store, u"/org/freedesktop/impl/portal/PermissionStore"_s,
                                                 store, u"Lookup"_s);
    lookup.setArguments({u"remote-desktop"_s, m_grants.pasteToken()});
    auto* watcher = new QDBusPendingCallWatcher(m_portal.bus().asyncCall(lookup), &owner);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, checked = std::move(checked)] {
        watcher->deleteLater();
        if (watcher->error().name() == u"org.freedesktop.portal.Error.NotFound")
            setToken({}, true);
        checked();
    });
}

void RemoteDesktopPasteKeys::setToken(const QString& token, bool isForgotten) {
    const auto before = status();
    m_grants.setPasteToken(token);
    m_isForgotten = isForgotten;
    if (status() != before)
        Q_EMIT statusChanged();
}

void RemoteDesktopPasteKeys::sendPaste(Completion<void> completion) {
    if (m_isAsking)
        return completion(std::unexpected(Error{beingAsked}));
    if (const auto now = status(); !now.works)
        return completion(std::unexpected(Error{now.reason}));
    m_pasting.push_back(std::move(completion));
    if (m_session)
        return;
    m_offerSelection();
    m_session = std::make_unique<RemoteDesktopSession>(m_portal, this);
    m_modifiers.whenUp(*m_session, [this](bool areUp) {
        if (areUp)
            return openSession();
        endPaste(std::unexpected(Error{u"The keys of the shortcut were not let go."_s}));
        askVersion(); // starts the portal again, as a session would
    });
}

void RemoteDesktopPasteKeys::openSession() {
    m_bound.start(m_mustStart ? patienceWithStart : patience);
    checkToken(*m_session, [this] {
        if (const auto now = status(); !now.works)
            return endPaste(std::unexpected(Error{now.reason}));
        m_session->open(m_grants.pasteToken(),
                        [this](const Result<RemoteDesktopSession::Opening>& opening) { opened(opening); });
    });
}

void RemoteDesktopPasteKeys::opened(const Result<RemoteDesktopSession::Opening>& opening) {
    if (!opening)
        return endPaste(std::unexpected(opening.error()));
    if (!opening->allowed) {
        checkToken(*this, [] {});
        return endPaste(std::unexpected(Error{u"The desktop did not let Tavrik paste."_s}));
    }
    m_mustStart = false;
    setToken(opening->nextToken, false);
    m_session->send(pasteKeys, [this](const Result<void>& outcome) { endPaste(outcome); });
}

/// Ends a paste while calls of its session are pending.
void RemoteDesktopPasteKeys::breakOffPaste(const Error& reason) {
    m_session.reset();
    endPaste(std::unexpected(reason));
}

void RemoteDesktopPasteKeys::endPaste(const Result<void>& outcome) {
    m_bound.stop();
    // This may be a callback of the session itself.
    if (m_session)
        m_session.release()->deleteLater();
    for (const auto& completion : std::exchange(m_pasting, {}))
        completion(outcome);
}

} // namespace tavrik
