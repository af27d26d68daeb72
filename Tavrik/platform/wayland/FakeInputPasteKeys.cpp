#include "platform/wayland/FakeInputPasteKeys.h"

#include "platform/linux/Terminals.h"
#include "protocols/fake-input.h"
#include "protocols/keystate.h"

#include <linux/input-event-codes.h>
#include <wayland-client.h>

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

constexpr auto patience = 1s;
// The first that types keys.
constexpr quint32 inputVersion = 4;
// The first that tells of other keys than the locks.
constexpr quint32 keyStateVersion = 5;

} // namespace

bool FakeInputPasteKeys::isOffered(const WaylandConnection& connection) {
    return connection.version(org_kde_kwin_fake_input_interface) >= inputVersion;
}

FakeInputPasteKeys::FakeInputPasteKeys(WaylandConnection& connection, std::function<void()> offerSelection)
    : m_connection(connection), m_offerSelection(std::move(offerSelection)), m_activeWindow(connection) {
    m_bound.setSingleShot(true);
    m_bound.setInterval(patience);
    connect(&m_bound, &QTimer::timeout, this,
            [this] { end(std::unexpected(Error{u"The keys of the shortcut were not let go."_s})); });
    connect(&connection, &WaylandConnection::disconnected, this, [this] {
        end(std::unexpected(Error{WaylandConnection::disconnectedReason()}));
        Q_EMIT statusChanged();
    });
    m_input = connection.bind<org_kde_kwin_fake_input>(org_kde_kwin_fake_input_interface, inputVersion);
    if (!m_input)
        return;
    // Shown to the user by compositors that ask; KWin does not.
    org_kde_kwin_fake_input_authenticate(m_input.get(), "Tavrik", "Pastes what was dictated");
    connection.flush();
}

ServiceStatus FakeInputPasteKeys::status() const {
    const auto backend = u"KWin fake input"_s;
    if (!m_connection.isConnected())
        return {backend, false, WaylandConnection::disconnectedReason()};
    if (!m_input)
        return {backend, false, u"KWin lets Tavrik type only when it is installed with its desktop file."_s};
    return {backend, true};
}

void FakeInputPasteKeys::sendPaste(Completion<void> completion) {
    if (const auto can = status(); !can.works)
        return completion(std::unexpected(Error{can.reason}));
    m_waiting.push_back(std::move(completion));
    if (m_bound.isActive())
        return;
    m_bound.start();
    watchModifiers();
    m_activeWindow.ask([this](const QByteArray& applicationId) {
        m_toTerminal = isTerminal({applicationId});
        m_connection.afterRequests(this, [this] {
            m_asked = true;
            sendIfFree();
        });
    });
}

void FakeInputPasteKeys::watchModifiers() {
    m_asked = false;
    m_down.reset();
    if (m_connection.version(org_kde_kwin_keystate_interface) < keyStateVersion)
        return;
    static constexpr org_kde_kwin_keystate_listener listener{
        .stateChanged =
            [](void* self, org_kde_kwin_keystate*, uint32_t key, uint32_t state) {
                auto& keys = *static_cast<FakeInputPasteKeys*>(self);
                if (key < ORG_KDE_KWIN_KEYSTATE_KEY_ALT || key >= keys.m_down.size())
                    return;
                keys.m_down[key] = state == ORG_KDE_KWIN_KEYSTATE_STATE_PRESSED;
                keys.sendIfFree();
            },
    };
    m_keyState = m_connection.bind<org_kde_kwin_keystate>(org_kde_kwin_keystate_interface, keyStateVersion);
    org_kde_kwin_keystate_add_listener(m_keyState.get(), &listener, this);
    org_kde_kwin_keystate_fetchStates(m_keyState.get());
}

void FakeInputPasteKeys::sendIfFree() {
    if (!m_bound.isActive() || !m_asked || m_down.any())
        return;
    if (m_toTerminal) {
        m_offerSelection();
        type(KEY_LEFTSHIFT, KEY_INSERT);
    } else {
        type(KEY_LEFTCTRL, KEY_V);
    }
    end({});
}

void FakeInputPasteKeys::end(const Result<void>& outcome) {
    m_bound.stop();
    m_keyState.reset();
    m_connection.flush();
    for (auto& completion : std::exchange(m_waiting, {}))
        completion(outcome);
}

void FakeInputPasteKeys::type(quint32 modifier, quint32 key) {
    const auto move = [this](quint32 code, wl_keyboard_key_state state) {
        org_kde_kwin_fake_input_keyboard_key(m_input.get(), code, state);
    };
    move(modifier, WL_KEYBOARD_KEY_STATE_PRESSED);
    move(key, WL_KEYBOARD_KEY_STATE_PRESSED);
    move(key, WL_KEYBOARD_KEY_STATE_RELEASED);
    move(modifier, WL_KEYBOARD_KEY_STATE_RELEASED);
}

} // namespace tavrik
