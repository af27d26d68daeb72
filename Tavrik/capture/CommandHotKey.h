#pragma once

#include "platform/HotKeyCommand.h"

#include <QObject>

#include <functional>
#include <optional>

namespace tavrik {

class MainQueue;

/// Makes holds of the commands that the user has bound to a key. Compositors repeat a binding while its key
/// is down, and may lose the release: presses that follow each other closely are one hold, and a later one
/// ends the recording. So does the second `toggle`. Main thread only.
class CommandHotKey : public QObject {
public:
    /// Called on the main queue.
    struct Handlers {
        /// Whether there is a recording to end.
        std::function<bool()> isRecording;
        std::function<void(bool endsOnSecondPress)> pressed;
        std::function<void()> released;
    };

    CommandHotKey(MainQueue& queue, Handlers handlers);

    void receive(HotKeyCommand command);

private:
    void handle(HotKeyCommand command);

    MainQueue& m_queue;
    const Handlers m_handlers;
    /// Of the hold that goes on.
    std::optional<std::chrono::steady_clock::time_point> m_lastPress;
    bool m_hasRepeated = false;
    /// Before this, a press belongs to the hold that was released last.
    std::chrono::steady_clock::time_point m_nextHold = std::chrono::steady_clock::time_point::min();
};

} // namespace tavrik
