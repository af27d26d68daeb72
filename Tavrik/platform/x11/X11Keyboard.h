#pragma once

#include "platform/x11/X11Keymap.h"

#include <QByteArrayList>
#include <QObject>

#include <bitset>
#include <memory>
#include <span>
#include <vector>

struct xcb_connection_t;
class QSocketNotifier;

namespace tavrik {

/// The keyboard of the X server, over a connection of its own: what its keys mean, grabs of single keys,
/// synthetic keys. It costs nothing while no grabbed key moves. Once the server is gone every query comes
/// back empty. Main thread only; needs the application object.
class X11Keyboard : public QObject {
    Q_OBJECT

public:
    enum class Grab { made, taken, impossible };

    /// Key codes, as a set.
    using Keys = std::bitset<256>;

    X11Keyboard();

    /// Whether there is a server.
    bool isConnected() const;

    /// Why nothing works when there is none, for the user.
    static QString disconnectedReason();

    /// Whether there is a server, and it lets a program synthesise keys.
    bool canSynthesise() const;

    /// The current map; it changes with keymapChanged().
    const X11Keymap& keymap() const { return m_keymap; }

    /// Grabs the key with each of the modifier masks, or with none of them if another program holds one.
    Grab grab(quint8 keycode, std::span<const quint8> masks);

    /// Gives such a grab up.
    void ungrab(quint8 keycode, std::span<const quint8> masks);

    /// The state of the keyboard and its focus, as far as it matters to a synthetic shortcut.
    struct InputState {
        /// Keys that are down and would spoil the shortcut: modifiers other than the locks, and keys grabbed
        /// here, since a grab takes the whole keyboard while its key is down.
        Keys blockingKeys;
        /// The effective layout group, 0 to 3.
        size_t group = 0;
        /// WM_CLASS of the window with the keyboard focus: instance and class. Empty if there is none.
        QByteArrayList focusedWindowClass;
    };

    /// The current state. Waits for the server, all queries at once.
    InputState queryInput() const;

    /// Turns modifiersChanged() on or off. Off at first.
    void watchModifiers(bool on);

    /// Moves a key as if by hand. Takes effect with the next query or flush().
    void synthesise(quint8 keycode, bool down);
    void flush();

Q_SIGNALS:
    /// A grabbed key went down; repeatedly while it repeats. `modifiers` are the real ones in effect.
    void pressed(quint8 keycode, quint8 modifiers);
    void released(quint8 keycode);
    void keymapChanged();
    void modifiersChanged();
    /// The server has gone, for good.
    void disconnected();

private:
    Keys blocking(std::span<const quint8> down) const;
    void selectXkbEvents(quint16 events, bool on);
    void drain(bool readSocket);

    struct Disconnect {
        void operator()(xcb_connection_t* connection) const;
    };

    const std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    QSocketNotifier* m_notifier = nullptr;
    X11Keymap m_keymap;
    std::vector<quint8> m_grabbed;
    quint32 m_root = 0;
    quint8 m_xkbEvent = 0;
};

} // namespace tavrik
