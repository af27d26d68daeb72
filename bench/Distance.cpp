#include "Distance.h"

#include "Measure.h"

#include <QtGlobal>

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <thread>

namespace tavrik::bench {

namespace {

class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {
        if (number < 0)
            qFatal("no line between two namespaces: %s", std::strerror(errno));
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { ::close(m_number); }
    int operator*() const { return m_number; }

private:
    int m_number;
};

void run(const std::string& command) {
    if (std::system(command.c_str()) != 0)
        qFatal("failed: %s", command.c_str());
}

/// A namespace with one end of the line in it. The calling thread has moved in.
struct End {
    End(const std::string& address, const std::string& routes)
        : space((::unshare(CLONE_NEWNET), ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC))) {
        ifreq request{.ifr_ifrn = {.ifrn_name = "line"}, .ifr_ifru = {.ifru_flags = IFF_TUN | IFF_NO_PI}};
        if (::ioctl(*packets, TUNSETIFF, &request) != 0)
            qFatal("no line between two namespaces: %s", std::strerror(errno));
        run("ip address add " + address + " dev line && ip link set line up && " + routes +
            " && echo 1 >/proc/sys/net/ipv4/conf/line/route_localnet");
    }

    void enter() const {
        if (::setns(*space, CLONE_NEWNET) != 0)
            qFatal("cannot enter a namespace");
    }

    const Descriptor space;
    const Descriptor packets{::open("/dev/net/tun", O_RDWR | O_CLOEXEC)};
};

/// One direction of the line.
class Delay {
public:
    Delay(const End& from, const End& to, Clock::duration delay)
        : m_from(*from.packets), m_to(*to.packets), m_delay(delay) {}

    pollfd wanted() const { return {.fd = m_from, .events = POLLIN, .revents = 0}; }

    void take() {
        std::string packet(largest, '\0');
        const auto size = ::read(m_from, packet.data(), packet.size());
        if (size <= 0)
            return;
        packet.resize(static_cast<size_t>(size));
        m_travelling.emplace_back(Clock::now() + m_delay, std::move(packet));
    }

    /// Delivers what has travelled long enough; when the next is due.
    Clock::time_point deliver() {
        while (!m_travelling.empty() && m_travelling.front().first <= Clock::now()) {
            const auto& packet = m_travelling.front().second;
            if (::write(m_to, packet.data(), packet.size()) < 0)
                qFatal("a packet is lost");
            m_travelling.pop_front();
        }
        return m_travelling.empty() ? Clock::time_point::max() : m_travelling.front().first;
    }

private:
    static constexpr size_t largest = 65536;

    int m_from;
    int m_to;
    Clock::duration m_delay;
    std::deque<std::pair<Clock::time_point, std::string>> m_travelling;
};

} // namespace

struct Distance::Line {
    explicit Line(Clock::duration delay)
        : there(near, far, delay), back(far, near, delay), thread([this] { carry(); }) {}
    ~Line() {
        ::eventfd_write(*ended, 1);
        thread.join();
    }

    void carry() {
        std::array polled{there.wanted(), back.wanted(),
                          pollfd{.fd = *ended, .events = POLLIN, .revents = 0}};
        for (;;) {
            const auto due = std::min(there.deliver(), back.deliver());
            const auto left = std::max(due - Clock::now(), Clock::duration::zero());
            const timespec wait{.tv_sec = 0, .tv_nsec = (left % std::chrono::seconds(1)).count()};
            ::ppoll(polled.data(), polled.size(), due == Clock::time_point::max() ? nullptr : &wait, nullptr);
            if (polled[0].revents != 0)
                there.take();
            if (polled[1].revents != 0)
                back.take();
            if (polled[2].revents != 0)
                return;
        }
    }

    const End far{"10.9.0.2", "ip link set lo up && ip route add 10.9.0.1 dev line"};
    const End near{"10.9.0.1", "ip route add 127.0.0.1 dev line src 10.9.0.1"};
    const Descriptor ended{::eventfd(0, EFD_CLOEXEC)};
    Delay there;
    Delay back;
    std::thread thread;
};

Distance::Distance(std::chrono::microseconds roundTrip)
    : m_line(std::make_unique<Line>(std::chrono::duration_cast<Clock::duration>(roundTrip) / 2)) {}

Distance::~Distance() = default;

void Distance::goNear() const {
    m_line->near.enter();
}

void Distance::goFar() const {
    m_line->far.enter();
}

} // namespace tavrik::bench
