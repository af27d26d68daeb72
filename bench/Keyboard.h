#pragma once

#include "Measure.h"
#include "platform/x11/X11Keyboard.h"

#include <QFile>
#include <QTest>

#include <linux/input-event-codes.h>

#include <ranges>
#include <vector>

namespace tavrik::bench {

/// The keyboard, by evdev codes. In a Wayland session it is in the hands of whoever reads lines ("down 29",
/// "up 29") from the pipe that BENCH_KEYS names.
class Keyboard {
public:
    Keyboard() {
        if (isWayland() && !m_pipe.open(QFile::WriteOnly | QFile::ExistingOnly | QFile::Unbuffered))
            qFatal("nobody presses keys for us: BENCH_KEYS");
    }

    void press(int key, bool down) {
        if (isWayland()) {
            m_pipe.write(QByteArray(down ? "down " : "up ") + QByteArray::number(key) + '\n');
        } else {
            m_keyboard.synthesise(static_cast<quint8>(key + 8), down);
            m_keyboard.flush();
        }
    }

private:
    QFile m_pipe{qEnvironmentVariable("BENCH_KEYS")};
    X11Keyboard m_keyboard;
};

/// The hot key: Alt+Space, which a new user has; in a Wayland session, where Alt+Space may be the desktop's
/// own, Control+Alt+Space.
class HotKeyHold {
public:
    /// When the key itself went down, in milliseconds; its modifiers go first, a finger's time before it.
    double press() {
        const auto all = keys();
        for (const int modifier : all | std::views::take(all.size() - 1))
            m_keyboard.press(modifier, true);
        QTest::qWait(20);
        const double at = now();
        m_keyboard.press(all.back(), true);
        return at;
    }

    /// As the preferences store it.
    static QString modifiers() { return isWayland() ? "6144" : "2048"; }

    /// Once.
    void release() {
        for (const int key : keys() | std::views::reverse) {
            m_keyboard.press(key, false);
            // Fingers are not that fast.
            if (isWayland())
                QTest::qWait(20);
        }
    }

private:
    static std::vector<int> keys() {
        if (isWayland())
            return {KEY_LEFTCTRL, KEY_LEFTALT, KEY_SPACE};
        return {KEY_LEFTALT, KEY_SPACE};
    }

    Keyboard m_keyboard;
};

} // namespace tavrik::bench
