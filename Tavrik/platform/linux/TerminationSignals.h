#pragma once

#include <QSocketNotifier>

#include <functional>

namespace tavrik {

/// Turns the first SIGTERM, SIGINT or SIGHUP into a call on the main thread, for an orderly end. A second one
/// ends the process as if nobody listened; one that the process was started to ignore stays ignored. One at a
/// time; needs a core application. Main thread only.
class TerminationSignals {
public:
    explicit TerminationSignals(std::function<void()> terminated);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

private:
    QSocketNotifier m_notifier;
};

} // namespace tavrik
