#pragma once

#include "platform/DayWatcher.h"

#include <QSocketNotifier>
#include <QString>

#include <functional>
#include <optional>

namespace tavrik {

/// Sleeps in the kernel: a timer set to the wall clock's next midnight, which also ends when the clock is
/// set, and a watch on the file that names the system's time zone.
class LinuxDayWatcher : public DayWatcher {
public:
    /// `zoneFile` may be missing, and is then not watched.
    explicit LinuxDayWatcher(const QString& zoneFile = QStringLiteral("/etc/localtime"));
    ~LinuxDayWatcher() override;

    void watch(std::function<void()> changed) override;

private:
    /// A file descriptor that calls back when it can be read.
    class Source {
    public:
        Source(int file, std::function<void()> readable);
        Source(const Source&) = delete;
        Source& operator=(const Source&) = delete;
        ~Source();

        int file() const;
        /// Takes what there is to read.
        void drain() const;

    private:
        const int m_file;
        QSocketNotifier m_notifier;
    };

    void awaitMidnight();
    void watchZoneFile();

    const QByteArray m_zoneFile;
    std::function<void()> m_changed;
    std::optional<Source> m_midnight;
    std::optional<Source> m_zone;
};

} // namespace tavrik
