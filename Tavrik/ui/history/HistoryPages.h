#pragma once

#include "ui/history/DayClock.h"
#include "ui/history/TranscriptionModel.h"
#include "ui/history/UserFormats.h"
#include "ui/home/UsageStats.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

class Clipboard;
class DayWatcher;
class HistoryStore;
class MainQueue;

/// The models of the pages Home and History. Main thread only.
class HistoryPages : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window")
    Q_PROPERTY(QString firstName READ firstName CONSTANT)
    Q_PROPERTY(tavrik::UsageStats* stats READ stats CONSTANT)
    Q_PROPERTY(tavrik::TranscriptionModel* today READ today CONSTANT)
    Q_PROPERTY(tavrik::TranscriptionModel* all READ all CONSTANT)

public:
    struct Dependencies {
        HistoryStore& store;
        Clipboard& clipboard;
        MainQueue& queue;
        DayWatcher& days;
        /// The user's full name as the system reports it.
        QString fullUserName;
        UserLocale locale = UserLocale::fromEnvironment();
        DayClock::Now now = qOverload<>(&QDateTime::currentDateTime);
    };

    explicit HistoryPages(const Dependencies& dependencies, QObject* parent = nullptr);
    ~HistoryPages() override;

    QString firstName() const;
    UsageStats* stats();
    TranscriptionModel* today();
    TranscriptionModel* all();

    /// Call when the window is shown: the day may have changed.
    void aboutToShow();

private:
    DayWatcher& m_days;
    const QString m_firstName;
    DayClock m_clock;
    UserFormats m_formats;
    UsageStats m_stats;
    TranscriptionModel m_today;
    TranscriptionModel m_all;
};

} // namespace tavrik
