#pragma once

#include "platform/DayWatcher.h"

#include <QSocketNotifier>
#include <QString>

#include <functional>
#include <optional>

namespace tavrik {

/// Waits for a kernel timer set to the next midnight, which also fires when the clock is set, and for changes
/// of the file that names the time zone.
class LinuxDayWatcher : public DayWatcher {
public:
    /// A missing `zoneFile` is not watched.
    explicit LinuxDayWatcher(const QString& zoneFile = QStringLiteral("/etc/localtime"));
    ~LinuxDayWatcher() override;

    void watch(std::function<void()> changed) override;

private:
    /// Owns a file descriptor and calls back when it is readable.
    class Source {
    public:
        Source(int file, std::function<void()> readable);
        Source(const Source&) = delete;
        Source& operator=(const Source&) = delete;
        ~Source();

        int file() const;
        /// Reads and discards all pending events.
        void drain() const;

    private:
        const int m_file;
        QSocketNotifier m_notifier;
    };

    void startMidnightTimer();
    void watchZoneFile();

    const QByteArray m_zoneFile;
    std::function<void()> m_changed;
    std::optional<Source> m_midnight;
    std::optional<Source> m_zone;
};

} // namespace tavrik
