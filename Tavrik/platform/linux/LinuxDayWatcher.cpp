#include "platform/linux/LinuxDayWatcher.h"

#include <QDateTime>
#include <QFile>

#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>

namespace tavrik {

LinuxDayWatcher::Source::Source(int file, std::function<void()> readable)
    : m_file(file), m_notifier(file, QSocketNotifier::Read) {
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                     [readable = std::move(readable)] { readable(); });
}

LinuxDayWatcher::Source::~Source() {
    ::close(m_file);
}

int LinuxDayWatcher::Source::file() const {
    return m_file;
}

void LinuxDayWatcher::Source::drain() const {
    std::array<char, 4096> events;
    while (::read(m_file, events.data(), events.size()) > 0) {
    }
}

LinuxDayWatcher::LinuxDayWatcher(const QString& zoneFile) : m_zoneFile(QFile::encodeName(zoneFile)) {}

LinuxDayWatcher::~LinuxDayWatcher() = default;

void LinuxDayWatcher::watch(std::function<void()> changed) {
    m_midnight.reset();
    m_zone.reset();
    m_changed = std::move(changed);
    if (!m_changed)
        return;

    if (const int file = ::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC); file >= 0) {
        m_midnight.emplace(file, [this] {
            m_midnight->drain();
            startMidnightTimer();
            m_changed();
        });
        startMidnightTimer();
    }
    if (const int file = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC); file >= 0) {
        m_zone.emplace(file, [this] {
            m_zone->drain();
            watchZoneFile();
            startMidnightTimer();
            m_changed();
        });
        watchZoneFile();
    }
}

void LinuxDayWatcher::startMidnightTimer() {
    if (!m_midnight)
        return;
    const auto midnight = QDate::currentDate().addDays(1).startOfDay();
    const itimerspec at{.it_interval = {}, .it_value = {.tv_sec = midnight.toSecsSinceEpoch(), .tv_nsec = 0}};
    ::timerfd_settime(m_midnight->file(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &at, nullptr);
}

// Watches the link itself, since desktops replace it by another. Adding the watch again covers the new link
// and changes nothing if the link is still the same.
void LinuxDayWatcher::watchZoneFile() {
    if (!m_zone)
        return;
    ::inotify_add_watch(m_zone->file(), m_zoneFile.constData(),
                        IN_DONT_FOLLOW | IN_ATTRIB | IN_MODIFY | IN_MOVE_SELF | IN_DELETE_SELF);
}

} // namespace tavrik
