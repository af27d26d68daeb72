#include "platform/x11/X11HotKeyBackend.h"

#include "platform/linux/KeyCodes.h"
#include "platform/x11/X11Keyboard.h"

#include <X11/keysym.h>
#include <xcb/xproto.h>

#include <optional>
#include <utility>

namespace tavrik {

namespace {

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

class X11Registration : public QObject, public HotKeyBackend::Registration {
public:
    X11Registration(X11Keyboard& keyboard, KeyCombination wanted, HotKeyBackend::Handlers handlers)
        : m_keyboard(keyboard), m_wanted(wanted), m_handlers(std::move(handlers)) {
        connect(&keyboard, &X11Keyboard::pressed, this, &X11Registration::press);
        connect(&keyboard, &X11Keyboard::released, this, &X11Registration::release);
        connect(&keyboard, &X11Keyboard::keymapChanged, this, &X11Registration::follow);
        grab();
    }

    X11Registration(const X11Registration&) = delete;
    X11Registration& operator=(const X11Registration&) = delete;

    ~X11Registration() override { ungrab(); }

    HotKeyBackend::Status status() const override { return m_status; }

private:
    void grab() {
        m_combination = translate(m_wanted, m_keyboard.keymap());
        m_status = HotKeyBackend::Status::unavailable;
        if (!m_combination)
            return;
        switch (m_keyboard.grab(m_combination->keycode, m_combination->grabMasks())) {
        case X11Keyboard::Grab::made:
            m_status = HotKeyBackend::Status::registered;
            break;
        case X11Keyboard::Grab::taken:
            m_status = HotKeyBackend::Status::taken;
            break;
        case X11Keyboard::Grab::impossible:
            break;
        }
    }

    void ungrab() {
        if (m_combination && m_status == HotKeyBackend::Status::registered)
            m_keyboard.ungrab(m_combination->keycode, m_combination->grabMasks());
    }

    // The map is announced again at every change of hands between two keyboards, mostly with nothing new in
    // it.
    void follow() {
        if (translate(m_wanted, m_keyboard.keymap()) == m_combination)
            return;
        ungrab();
        grab();
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

    X11Keyboard& m_keyboard;
    const KeyCombination m_wanted;
    const HotKeyBackend::Handlers m_handlers;
    std::optional<X11Combination> m_combination;
    HotKeyBackend::Status m_status = HotKeyBackend::Status::unavailable;
    std::optional<quint8> m_held;
};

} // namespace

X11HotKeyBackend::X11HotKeyBackend(X11Keyboard& keyboard) : m_keyboard(keyboard) {}

std::unique_ptr<HotKeyBackend::Registration> X11HotKeyBackend::registerHotKey(KeyCombination combination,
                                                                              Handlers handlers) {
    return std::make_unique<X11Registration>(m_keyboard, combination, std::move(handlers));
}

} // namespace tavrik
