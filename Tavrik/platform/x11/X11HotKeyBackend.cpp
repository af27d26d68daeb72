#include "platform/x11/X11HotKeyBackend.h"

#include "platform/linux/KeyCodes.h"
#include "platform/x11/X11Keyboard.h"

#include <X11/keysym.h>
#include <xcb/xproto.h>

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

const QString backendName = u"X11 grab"_s;

/// A combination as the server's grabs want it.
struct X11Combination {
    quint8 keycode = 0;
    quint8 modifiers = 0;
    /// The locks, which must not matter.
    quint8 ignored = 0;

    bool operator==(const X11Combination&) const = default;

    std::array<quint8, 4> grabMasks() const {
        const auto numLock = static_cast<quint8>(ignored & ~XCB_MOD_MASK_LOCK);
        const auto caps = static_cast<quint8>(modifiers | XCB_MOD_MASK_LOCK);
        return {modifiers, caps, static_cast<quint8>(modifiers | numLock),
                static_cast<quint8>(caps | numLock)};
    }
};

// Nothing where the keyboard lacks the key or one of the modifiers.
std::optional<X11Combination> translate(KeyCombination combination, const X11Keymap& keymap) {
    const auto evdev = evdevKeyCode(combination.keyCode);
    if (!evdev)
        return std::nullopt;
    const std::pair<quint32, quint8> meanings[] = {
        {KeyCombination::shift, XCB_MOD_MASK_SHIFT},
        {KeyCombination::control, XCB_MOD_MASK_CONTROL},
        {KeyCombination::option, keymap.modifiersFor({XK_Alt_L, XK_Alt_R, XK_Meta_L})},
        {KeyCombination::command, keymap.modifiersFor({XK_Super_L, XK_Super_R})},
    };
    X11Combination result{.keycode = static_cast<quint8>(*evdev + 8),
                          .ignored = static_cast<quint8>(XCB_MOD_MASK_LOCK | keymap.numLock())};
    for (const auto& [wanted, mask] : meanings) {
        if ((combination.modifiers & wanted) == 0)
            continue;
        if (mask == 0)
            return std::nullopt;
        result.modifiers |= mask;
    }
    return result;
}

class X11Registration final : public HotKeyBackend::Registration {
public:
    X11Registration(X11Keyboard& keyboard, KeyCombination wanted, HotKeyBackend::Handlers handlers)
        : m_keyboard(keyboard), m_wanted(wanted), m_handlers(std::move(handlers)) {
        connect(&keyboard, &X11Keyboard::pressed, this, &X11Registration::press);
        connect(&keyboard, &X11Keyboard::released, this, &X11Registration::release);
        connect(&keyboard, &X11Keyboard::keymapChanged, this, &X11Registration::follow);
        connect(&keyboard, &X11Keyboard::disconnected, this, &X11Registration::giveUp);
        grab();
    }

    X11Registration(const X11Registration&) = delete;
    X11Registration& operator=(const X11Registration&) = delete;

    ~X11Registration() override { ungrab(); }

    ServiceStatus status() const override { return {backendName, m_isGrabbed, m_reason}; }

private:
    void grab() {
        m_combination = translate(m_wanted, m_keyboard.keymap());
        auto outcome = X11Keyboard::Grab::impossible;
        if (m_combination)
            outcome = m_keyboard.grab(m_combination->keycode, m_combination->grabMasks());
        m_isGrabbed = outcome == X11Keyboard::Grab::made;
        if (m_isGrabbed)
            m_reason.clear();
        else if (!m_keyboard.isConnected())
            m_reason = X11Keyboard::disconnectedReason();
        else if (outcome == X11Keyboard::Grab::taken)
            m_reason = u"Another program holds this shortcut. Choose another one."_s;
        else
            m_reason = u"The keyboard has no key for this shortcut. Choose another one."_s;
    }

    void ungrab() {
        if (m_combination && m_isGrabbed)
            m_keyboard.ungrab(m_combination->keycode, m_combination->grabMasks());
    }

    // The map is announced again at every change of hands between two keyboards, mostly with nothing new in
    // it.
    void follow() {
        if (translate(m_wanted, m_keyboard.keymap()) == m_combination)
            return;
        const auto before = status();
        ungrab();
        grab();
        if (status() != before)
            Q_EMIT statusChanged();
    }

    void press(quint8 keycode, quint8 modifiers) {
        if (m_held || !m_combination || keycode != m_combination->keycode ||
            (modifiers & ~m_combination->ignored) != m_combination->modifiers)
            return;
        m_held = keycode;
        m_handlers.pressed();
    }

    // Whatever the modifiers: they may have been let go before the key.
    void release(quint8 keycode) {
        if (m_held != keycode)
            return;
        m_held.reset();
        m_handlers.released();
    }

    void giveUp() {
        m_isGrabbed = false;
        m_reason = X11Keyboard::disconnectedReason();
        if (m_held)
            release(*m_held);
        Q_EMIT statusChanged();
    }

    X11Keyboard& m_keyboard;
    const KeyCombination m_wanted;
    const HotKeyBackend::Handlers m_handlers;
    std::optional<X11Combination> m_combination;
    bool m_isGrabbed = false;
    QString m_reason;
    std::optional<quint8> m_held;
};

} // namespace

X11HotKeyBackend::X11HotKeyBackend(X11Keyboard& keyboard) : m_keyboard(keyboard) {
    connect(&keyboard, &X11Keyboard::disconnected, this, &X11HotKeyBackend::statusChanged);
}

ServiceStatus X11HotKeyBackend::status() const {
    const bool works = m_keyboard.isConnected();
    return {backendName, works, works ? QString() : X11Keyboard::disconnectedReason()};
}

std::unique_ptr<HotKeyBackend::Registration>
X11HotKeyBackend::registerHotKey(KeyCombination combination, PermissionRequest, Handlers handlers) {
    handlers.settled();
    return std::make_unique<X11Registration>(m_keyboard, combination, std::move(handlers));
}

} // namespace tavrik
