#include "capture/CommandHotKey.h"

#include "base/MainQueue.h"

#include <QPointer>

#include <algorithm>
#include <utility>

namespace tavrik {

using namespace std::chrono_literals;

namespace {

/// Longer than any usual delay before a key repeats.
constexpr auto longestRepeat = 800ms;

/// Quicker than a finger: such a press was given before the release, and arrived after it.
constexpr auto quickestPress = 50ms;

} // namespace

CommandHotKey::CommandHotKey(MainQueue& queue, Handlers handlers)
    : m_queue(queue), m_handlers(std::move(handlers)) {}

void CommandHotKey::receive(HotKeyCommand command) {
    m_queue.post([self = QPointer<CommandHotKey>(this), command] {
        if (self)
            self->handle(command);
    });
}

void CommandHotKey::handle(HotKeyCommand command) {
    if (command.kind == HotKeyCommand::Kind::release) {
        const bool mayBeOvertaking = m_hasRepeated || !m_lastPress;
        m_nextHold = command.time + (mayBeOvertaking ? quickestPress : 0ms);
        m_lastPress.reset();
        m_hasRepeated = false;
        m_handlers.released();
        return;
    }
    if (command.time < m_nextHold)
        return;
    const bool repeats = m_lastPress && command.time < *m_lastPress + longestRepeat;
    m_lastPress = std::max(command.time, m_lastPress.value_or(command.time));
    m_hasRepeated = repeats;
    if (repeats)
        return;
    if (m_handlers.isRecording())
        m_handlers.released();
    else
        m_handlers.pressed(command.kind == HotKeyCommand::Kind::toggle);
}

} // namespace tavrik
