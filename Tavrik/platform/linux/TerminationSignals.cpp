#include "platform/linux/TerminationSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <utility>

namespace tavrik {

namespace {

constexpr std::array signalNumbers{SIGTERM, SIGINT, SIGHUP};

/// All that a signal handler can reach.
std::atomic<int> eventDescriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free);

void onSignal(int) {
    const uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(eventDescriptor, &one, sizeof one);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminated)
    : m_notifier(eventDescriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), QSocketNotifier::Read) {
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                     [this, terminated = std::move(terminated)] {
                         m_notifier.setEnabled(false);
                         terminated();
                     });
    for (const int number : signalNumbers) {
        struct sigaction action{};
        ::sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN)
            continue;
        action.sa_handler = &onSignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        ::sigaction(number, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() {
    ::close(eventDescriptor.exchange(-1));
}

} // namespace tavrik
