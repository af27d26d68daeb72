#include "platform/x11/X11Keyboard.h"

#include "platform/x11/XcbXkb.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>

#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>

namespace tavrik {

namespace {

constexpr quint16 mapEvents = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;

QByteArrayList windowClass(xcb_connection_t* connection, xcb_window_t window) {
    const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, /*long_length=*/64),
        nullptr));
    if (!reply)
        return {};
    const auto* bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
    auto names = QByteArray(bytes, xcb_get_property_value_length(reply.get())).split('\0');
    names.removeAll(QByteArray());
    return names;
}

/// The focus is often on an inner window, which has no class of its own. 0 and 1 stand for no window at all.
QByteArrayList classAround(xcb_connection_t* connection, xcb_window_t window) {
    while (window > XCB_INPUT_FOCUS_POINTER_ROOT) {
        if (const auto names = windowClass(connection, window); !names.isEmpty())
            return names;
        const XcbPointer<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
        window = tree ? tree->parent : XCB_NONE;
    }
    return {};
}

} // namespace

void X11Keyboard::Disconnect::operator()(xcb_connection_t* connection) const {
    xcb_disconnect(connection);
}

X11Keyboard::X11Keyboard() : m_connection(xcb_connect(nullptr, nullptr)) {
    auto* connection = m_connection.get();
    if (xcb_connection_has_error(connection) != 0)
        return;
    xcb_prefetch_extension_data(connection, &xcb_test_id);
    m_root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;

    xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &m_xkbEvent, nullptr);
    // Without this a held key arrives as one release and one press per repetition.
    constexpr quint32 repeat = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    xcb_discard_reply(
        connection,
        xcb_xkb_per_client_flags(connection, XCB_XKB_ID_USE_CORE_KBD, repeat, repeat, 0, 0, 0).sequence);
    selectXkbEvents(mapEvents, true);
    m_keymap = X11Keymap::fetch(connection);

    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { drain(true); });
    // Waiting for a reply also reads the events before it, and the socket is silent about those afterwards.
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            [this] { drain(false); });
}

bool X11Keyboard::isConnected() const {
    return xcb_connection_has_error(m_connection.get()) == 0;
}

QString X11Keyboard::disconnectedReason() {
    return QStringLiteral("The X server cannot be reached. Start Tavrik again.");
}

bool X11Keyboard::canSynthesise() const {
    if (!isConnected())
        return false;
    const auto* xtest = xcb_get_extension_data(m_connection.get(), &xcb_test_id);
    return xtest != nullptr && xtest->present != 0;
}

X11Keyboard::Grab X11Keyboard::grab(quint8 keycode, std::span<const quint8> masks) {
    auto* connection = m_connection.get();
    if (xcb_connection_has_error(connection) != 0)
        return Grab::impossible;
    std::vector<xcb_void_cookie_t> cookies;
    for (const auto mask : masks)
        cookies.push_back(xcb_grab_key_checked(connection, 0, m_root, mask, keycode, XCB_GRAB_MODE_ASYNC,
                                               XCB_GRAB_MODE_ASYNC));
    auto outcome = Grab::made;
    for (const auto cookie : cookies)
        if (const XcbPointer<xcb_generic_error_t> error{xcb_request_check(connection, cookie)})
            outcome = error->error_code == XCB_ACCESS ? Grab::taken : Grab::impossible;
    m_grabbed.push_back(keycode);
    if (outcome != Grab::made)
        ungrab(keycode, masks);
    return outcome;
}

void X11Keyboard::ungrab(quint8 keycode, std::span<const quint8> masks) {
    for (const auto mask : masks)
        xcb_ungrab_key(m_connection.get(), keycode, m_root, mask);
    flush();
    m_grabbed.erase(std::ranges::find(m_grabbed, keycode));
}

X11Keyboard::InputState X11Keyboard::queryInput() const {
    auto* connection = m_connection.get();
    const auto downCookie = xcb_query_keymap(connection);
    const auto stateCookie = xcb_xkb_get_state(connection, XCB_XKB_ID_USE_CORE_KBD);
    const auto focusCookie = xcb_get_input_focus(connection);
    const XcbPointer<xcb_query_keymap_reply_t> down(xcb_query_keymap_reply(connection, downCookie, nullptr));
    const XcbPointer<xcb_xkb_get_state_reply_t> state(
        xcb_xkb_get_state_reply(connection, stateCookie, nullptr));
    const XcbPointer<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(connection, focusCookie, nullptr));
    InputState now;
    if (down)
        now.blockingKeys = blocking(down->keys);
    if (state)
        now.group = state->group & 3;
    if (focus)
        now.focusedWindowClass = classAround(connection, focus->focus);
    return now;
}

X11Keyboard::Keys X11Keyboard::blocking(std::span<const quint8> down) const {
    const auto locks = XCB_MOD_MASK_LOCK | m_keymap.numLock();
    Keys keys;
    for (size_t keycode = 0; keycode < keys.size(); ++keycode)
        if ((down[keycode / 8] >> (keycode % 8) & 1) != 0)
            keys[keycode] =
                (m_keymap.modifiersOf(keycode) & ~locks) != 0 || std::ranges::count(m_grabbed, keycode) > 0;
    return keys;
}

void X11Keyboard::watchModifiers(bool on) {
    selectXkbEvents(XCB_XKB_EVENT_TYPE_STATE_NOTIFY, on);
    flush();
}

void X11Keyboard::synthesise(quint8 keycode, bool down) {
    xcb_test_fake_input(m_connection.get(), down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode, XCB_CURRENT_TIME,
                        XCB_NONE, 0, 0, 0);
}

void X11Keyboard::flush() {
    xcb_flush(m_connection.get());
}

void X11Keyboard::selectXkbEvents(quint16 events, bool on) {
    // All that makes up the keymap, except what a radio group or a stuck key does.
    constexpr quint16 mapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                 XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS |
                                 XCB_XKB_MAP_PART_KEY_ACTIONS | XCB_XKB_MAP_PART_VIRTUAL_MODS |
                                 XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
    xcb_xkb_select_events(m_connection.get(), XCB_XKB_ID_USE_CORE_KBD, events, on ? 0 : events,
                          on ? events : 0, mapParts, on ? mapParts : 0, nullptr);
}

void X11Keyboard::drain(bool readSocket) {
    const auto next = readSocket ? xcb_poll_for_event : xcb_poll_for_queued_event;
    auto* connection = m_connection.get();
    bool keymapStale = false;
    do {
        keymapStale = false;
        while (const XcbPointer<xcb_generic_event_t> event{next(connection)}) {
            const auto type = event->response_type & 0x7f;
            const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event.get());
            if (type == XCB_KEY_PRESS)
                Q_EMIT pressed(key->detail, key->state & 0xff);
            else if (type == XCB_KEY_RELEASE)
                Q_EMIT released(key->detail);
            else if (type == m_xkbEvent && event->pad0 == XCB_XKB_STATE_NOTIFY)
                Q_EMIT modifiersChanged();
            else if (type == m_xkbEvent)
                keymapStale = true;
        }
        if (keymapStale) {
            m_keymap = X11Keymap::fetch(connection);
            Q_EMIT keymapChanged();
        }
    } while (keymapStale);
    if (!isConnected() && m_notifier->isEnabled()) {
        m_notifier->setEnabled(false);
        Q_EMIT disconnected();
    }
}

} // namespace tavrik
