#pragma once

#include "platform/KeyRepeat.h"

#include <chrono>
#include <optional>

namespace tavrik {

/// Makes holds of what a desktop tells about a shortcut. GNOME tells of no release when a modifier goes up
/// before the key; while the key is down, however, it repeats the press as fast as keys repeat, so that the
/// end shows in their silence. Another key pressed meanwhile ends the repeats, and so the hold, too. Where
/// keys do not repeat, a second press has to end the recording.
class HoldTracker {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    enum class Event {
        none,
        pressed,
        released,
        /// The last press was not heard to end, and here is the next.
        pressedAgain,
        /// The repeats have fallen silent: answered() is to be called when the compositor has shown that it
        /// is not merely busy.
        doubted,
    };

    /// How keys repeat, where releases get lost. Without it every release is told.
    void setRepeat(const std::optional<KeyRepeat::Settings>& repeat);

    /// Whether a recording runs, that is, there is something to end.
    void setRecording(bool recording) { m_isRecording = recording; }

    /// Whether a release can be lost without a trace.
    bool mayMissRelease() const { return m_repeat && !m_repeat->enabled; }

    Event activated(TimePoint now);
    Event deactivated();
    /// The desktop tells nothing more until the shortcut has been bound anew. Its repeats show then that the
    /// hold goes on.
    Event lost(TimePoint now);
    Event answered(TimePoint now);

    /// When timePassed() is to be called, if nothing happens before.
    std::optional<TimePoint> deadline() const;
    Event timePassed(TimePoint now);

private:
    enum class Doubt { none, asked, answered, lost };

    Event release();

    std::optional<KeyRepeat::Settings> m_repeat;
    bool m_isRecording = false;
    bool m_isHeld = false;
    /// Whether the last activation was one of a run of repeats.
    bool m_isRepeating = false;
    Doubt m_doubt = Doubt::none;
    /// Of the last activation, or of the compositor's answer.
    TimePoint m_lastSign;
};

} // namespace tavrik
