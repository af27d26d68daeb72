#pragma once

#include "platform/x11/XcbXkb.h"

#include <QByteArray>

#include <xcb/xtest.h>

namespace tavrik {

/// X key codes of the keys the tests press.
enum XKey : quint8 {
    keyControl = 37,
    keyS = 39,
    keyShift = 50,
    keyV = 55,
    keyAlt = 64,
    keySpace = 65,
    keyLeft = 113,
    keySuper = 133,
};

/// The hands at the keyboard: the virtual server's own, which is another device than that of synthetic keys,
/// as a user's is.
class XKeys {
public:
    XKeys() : m_connection(xcb_connect(nullptr, nullptr)) {
        const QByteArray inputExtension("XInputExtension");
        const XcbPointer<xcb_query_extension_reply_t> input(xcb_query_extension_reply(
            m_connection,
            xcb_query_extension(m_connection, inputExtension.size(), inputExtension.constData()), nullptr));
        m_inputEvents = input->first_event;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        xcb_discard_reply(m_connection, xcb_xkb_use_extension(m_connection, 1, 0).sequence);
    }
    XKeys(const XKeys&) = delete;
    XKeys& operator=(const XKeys&) = delete;
    ~XKeys() { xcb_disconnect(m_connection); }

    void press(quint8 key) { move(1, key); }
    void release(quint8 key) { move(2, key); }

    void chord(quint8 modifier, quint8 key) {
        press(modifier);
        press(key);
        release(key);
        release(modifier);
    }

    void releaseAll() {
        for (const auto key : {keyAlt, keySpace, keyShift, keyControl, keySuper, keyLeft})
            release(key);
    }

    bool isDown(quint8 key) {
        const XcbPointer<xcb_query_keymap_reply_t> down(
            xcb_query_keymap_reply(m_connection, xcb_query_keymap(m_connection), nullptr));
        return (down->keys[key / 8] >> (key % 8) & 1) != 0;
    }

    /// CapsLock is XCB_MOD_MASK_LOCK, NumLock usually XCB_MOD_MASK_2.
    void lock(quint8 modifiers, quint8 group) {
        xcb_xkb_latch_lock_state(m_connection, XCB_XKB_ID_USE_CORE_KBD, 0xff, modifiers, 1, group, 0, 0, 0);
        sync();
    }

    /// False if somebody else holds the combination.
    bool grab(quint8 key, quint16 modifiers) {
        const XcbPointer<xcb_generic_error_t> error(
            xcb_request_check(m_connection, xcb_grab_key_checked(m_connection, 0, m_root, modifiers, key,
                                                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
        return error == nullptr;
    }

    void ungrab(quint8 key, quint16 modifiers) {
        xcb_ungrab_key(m_connection, key, m_root, modifiers);
        sync();
    }

private:
    // The input extension's events begin with a valuator's, then a key's press and release.
    void move(quint8 event, quint8 key) {
        constexpr quint8 xvfbKeyboard = 7;
        const XcbPointer<xcb_generic_error_t> error(xcb_request_check(
            m_connection, xcb_test_fake_input_checked(m_connection, m_inputEvents + event, key,
                                                      XCB_CURRENT_TIME, XCB_NONE, 0, 0, xvfbKeyboard)));
        if (error)
            qFatal("the virtual keyboard refuses keys");
    }

    void sync() {
        std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

    xcb_connection_t* m_connection;
    xcb_window_t m_root = 0;
    quint8 m_inputEvents = 0;
};

} // namespace tavrik
