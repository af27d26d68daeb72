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
constexpr auto newDesktopFilesSeen = 5s;
// The first that types keys.
constexpr quint32 inputVersion = 4;
// The first that tells of other keys than the locks.
constexpr quint32 keyStateVersion = 5;
constexpr quint32 modifierKeys[] = {KEY_LEFTCTRL, KEY_RIGHTCTRL, KEY_LEFTSHIFT, KEY_RIGHTSHIFT,
                                    KEY_LEFTALT,  KEY_RIGHTALT,  KEY_LEFTMETA,  KEY_RIGHTMETA};

} // namespace

/// What there is once KWin has let us in.
struct FakeInputPasteKeys::Input {
    explicit Input(WaylandConnection& whereLetIn)
        : connection(whereLetIn),
          keys(whereLetIn.bind<org_kde_kwin_fake_input>(org_kde_kwin_fake_input_interface, inputVersion)) {}

    /// KWin decides once for each connection; the first one may have come too early.
    std::unique_ptr<WaylandConnection> laterConnection;
    WaylandConnection& connection;
    WaylandPointer<org_kde_kwin_fake_input> keys;
    ActiveWindow activeWindow{connection};

    // Of the paste that waits.
    WaylandPointer<org_kde_kwin_keystate> keyState;
    /// The modifiers, by their numbers in the protocol.
    std::bitset<8> down;
    int unanswered = 0;
    bool toTerminal = false;
};

bool FakeInputPasteKeys::isOffered(const WaylandConnection& connection) {
    return connection.version("org_kde_plasma_shell") > 0 ||
           connection.version(org_kde_kwin_fake_input_interface) >= inputVersion;
}

FakeInputPasteKeys::FakeInputPasteKeys(Dependencies dependencies) : m_dependencies(std::move(dependencies)) {
    m_bound.setSingleShot(true);
    m_bound.setInterval(patience);
    connect(&m_bound, &QTimer::timeout, this,
            [this] { end(std::unexpected(Error{u"The keys of the shortcut were not let go."_s})); });
    connect(m_dependencies.otherwise.get(), &Service::statusChanged, this, &Service::statusChanged);
    connect(&m_dependencies.connection, &WaylandConnection::disconnected, this, [this] {
        end(std::unexpected(Error{WaylandConnection::disconnectedReason()}));
        Q_EMIT statusChanged();
    });
    if (!open(m_dependencies.connection))
        QTimer::singleShot(newDesktopFilesSeen, this, &FakeInputPasteKeys::isLetIn);
}

FakeInputPasteKeys::~FakeInputPasteKeys() = default;

bool FakeInputPasteKeys::open(WaylandConnection& connection) {
    if (connection.version(org_kde_kwin_fake_input_interface) < inputVersion)
        return false;
    m_input = std::make_unique<Input>(connection);
    org_kde_kwin_fake_input_authenticate(m_input->keys.get(), "Tavrik", "Pastes what was dictated");
    connection.flush();
    return true;
}

bool FakeInputPasteKeys::isLetIn() {
    if (m_input || !m_dependencies.connection.isConnected())
        return m_input != nullptr;
    auto connection = std::make_unique<WaylandConnection>();
    if (!open(*connection))
        return false;
    m_input->laterConnection = std::move(connection);
    Q_EMIT statusChanged();
    return true;
}

ServiceStatus FakeInputPasteKeys::status() const {
    if (!m_input)
        return m_dependencies.otherwise->status();
    const auto backend = u"KWin fake input"_s;
    if (!m_input->connection.isConnected())
        return {backend, false, WaylandConnection::disconnectedReason()};
    return {backend, true};
}

void FakeInputPasteKeys::requestPermission(PermissionRequest request, std::function<void()> answered) {
    if (isLetIn())
        return answered();
    // Do not bother the user if KWin is about to see our desktop file.
    const auto ask = [this, request, answered = std::move(answered)]() mutable {
        if (isLetIn())
            return answered();
        m_dependencies.otherwise->requestPermission(request, std::move(answered));
    };
    QTimer::singleShot(request == PermissionRequest::once ? newDesktopFilesSeen : 0s, this, ask);
}

void FakeInputPasteKeys::sendPaste(Completion<void> completion) {
    if (!isLetIn())
        return m_dependencies.otherwise->sendPaste(std::move(completion));
    if (const auto can = status(); !can.works)
        return completion(std::unexpected(Error{can.reason}));
    m_waiting.push_back(std::move(completion));
    if (m_bound.isActive())
        return;
    m_bound.start();
    watchModifiers();
    const auto answered = [this] {
        --m_input->unanswered;
        sendIfFree();
    };
    // Some of an earlier one may still be on their way.
    m_input->unanswered += 3;
    m_dependencies.connection.afterRequests(this, answered);
    m_input->connection.afterRequests(this, answered);
    m_input->activeWindow.ask([this, answered](const ActiveWindow::Answer& window) {
        m_input->toTerminal = isTerminal(window.names);
        answered();
    });
}

void FakeInputPasteKeys::watchModifiers() {
    m_input->down.reset();
    const auto& connection = m_input->connection;
    if (connection.version(org_kde_kwin_keystate_interface) < keyStateVersion)
        return;
    static constexpr org_kde_kwin_keystate_listener listener{
        .stateChanged =
            [](void* self, org_kde_kwin_keystate*, uint32_t key, uint32_t state) {
                auto& keys = *static_cast<FakeInputPasteKeys*>(self);
                auto& down = keys.m_input->down;
                if (key < ORG_KDE_KWIN_KEYSTATE_KEY_ALT || key >= down.size())
                    return;
                down[key] = state == ORG_KDE_KWIN_KEYSTATE_STATE_PRESSED;
                keys.sendIfFree();
            },
    };
    m_input->keyState =
        connection.bind<org_kde_kwin_keystate>(org_kde_kwin_keystate_interface, keyStateVersion);
    org_kde_kwin_keystate_add_listener(m_input->keyState.get(), &listener, this);
    org_kde_kwin_keystate_fetchStates(m_input->keyState.get());
}

void FakeInputPasteKeys::sendIfFree() {
    if (!m_bound.isActive() || m_input->unanswered > 0 || m_input->down.any())
        return;
    // A KWin that does not tell of modifiers takes it from us that they are up; a newer one does not.
    if (!m_input->keyState)
        for (const auto modifier : modifierKeys)
            move(modifier, WL_KEYBOARD_KEY_STATE_RELEASED);
    if (m_input->toTerminal)
        m_dependencies.offerSelection();
    if (const auto v = m_dependencies.keyForV(); v && !m_input->toTerminal)
        type(KEY_LEFTCTRL, *v);
    else
        type(KEY_LEFTSHIFT, KEY_INSERT);
    end({});
}

void FakeInputPasteKeys::end(const Result<void>& outcome) {
    m_bound.stop();
    if (m_input) {
        m_input->keyState.reset();
        m_input->connection.flush();
    }
    for (auto& completion : std::exchange(m_waiting, {}))
        completion(outcome);
}

void FakeInputPasteKeys::move(quint32 key, quint32 state) {
    org_kde_kwin_fake_input_keyboard_key(m_input->keys.get(), key, state);
}

void FakeInputPasteKeys::type(quint32 modifier, quint32 key) {
    move(modifier, WL_KEYBOARD_KEY_STATE_PRESSED);
    move(key, WL_KEYBOARD_KEY_STATE_PRESSED);
    move(key, WL_KEYBOARD_KEY_STATE_RELEASED);
    move(modifier, WL_KEYBOARD_KEY_STATE_RELEASED);
}

} // namespace tavrik
