#include "platform/x11/X11PasteKeys.h"

#include "platform/linux/Terminals.h"

#include <X11/keysym.h>
#include <xcb/xproto.h>

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

constexpr auto patience = 1s;

} // namespace

X11PasteKeys::X11PasteKeys(X11Keyboard& keyboard, std::function<void()> offerSelection)
    : m_keyboard(keyboard), m_offerSelection(std::move(offerSelection)) {
    m_bound.setSingleShot(true);
    m_bound.setInterval(patience);
    connect(&m_bound, &QTimer::timeout, this, &X11PasteKeys::sendAnyway);
    connect(&keyboard, &X11Keyboard::modifiersChanged, this, &X11PasteKeys::sendIfFree);
    connect(&keyboard, &X11Keyboard::released, this, &X11PasteKeys::sendIfFree);
    connect(&keyboard, &X11Keyboard::disconnected, this, [this] {
        if (m_bound.isActive())
            sendAnyway();
        Q_EMIT statusChanged();
    });
}

ServiceStatus X11PasteKeys::status() const {
    const auto backend = u"XTEST"_s;
    if (!m_keyboard.isConnected())
        return {backend, false, X11Keyboard::disconnectedReason()};
    if (!m_keyboard.canSynthesise())
        return {backend, false, u"The X server lets no program paste into another."_s};
    return {backend, true};
}

void X11PasteKeys::sendPaste(Completion<void> completion) {
    if (!m_bound.isActive()) {
        if (const auto now = m_keyboard.queryInput(); now.blockingKeys.none())
            return completion(send(now));
        m_keyboard.watchModifiers(true);
        m_bound.start();
    }
    m_waiting.push_back(std::move(completion));
    // Asked again, since the last key may have gone up before the watch began.
    sendIfFree();
}

void X11PasteKeys::sendIfFree() {
    if (!m_bound.isActive())
        return;
    if (const auto now = m_keyboard.queryInput(); now.blockingKeys.none())
        endWaiting(send(now));
}

void X11PasteKeys::sendAnyway() {
    const auto now = m_keyboard.queryInput();
    for (size_t keycode = 0; keycode < now.blockingKeys.size(); ++keycode)
        if (now.blockingKeys[keycode])
            m_keyboard.synthesise(keycode, false);
    endWaiting(send(now));
}

void X11PasteKeys::endWaiting(const Result<void>& outcome) {
    m_bound.stop();
    m_keyboard.watchModifiers(false);
    for (auto& completion : std::exchange(m_waiting, {}))
        completion(outcome);
}

Result<void> X11PasteKeys::send(const X11Keyboard::InputState& now) {
    if (const auto can = status(); !can.works)
        return std::unexpected(Error{can.reason});
    const auto& keymap = m_keyboard.keymap();
    auto modifier = keymap.keyForModifiers(XCB_MOD_MASK_CONTROL);
    auto key = keymap.keyFor(XK_v, now.group);
    const auto terminal = isTerminal(now.focusedWindowClass);
    if (terminal)
        m_offerSelection();
    if (terminal || !key) {
        modifier = keymap.keyForModifiers(XCB_MOD_MASK_SHIFT);
        key = keymap.keyFor(XK_Insert, now.group);
    }
    if (!modifier || !key)
        return std::unexpected(Error{u"The keyboard has no keys that paste."_s});
    m_keyboard.synthesise(*modifier, true);
    m_keyboard.synthesise(*key, true);
    m_keyboard.synthesise(*key, false);
    m_keyboard.synthesise(*modifier, false);
    m_keyboard.flush();
    return {};
}

} // namespace tavrik
