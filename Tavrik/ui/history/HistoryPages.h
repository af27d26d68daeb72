#pragma once

#include "ui/history/DayClock.h"
#include "ui/history/TranscriptionModel.h"
#include "ui/history/UserFormats.h"
#include "ui/home/UsageFigures.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

class Clipboard;
class DayWatcher;
class HistoryStore;
class MainQueue;

/// What the pages Home and History show. Main thread only.
class HistoryPages : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window")
    Q_PROPERTY(QString firstName READ firstName CONSTANT)
    Q_PROPERTY(tavrik::UsageFigures* figures READ figures CONSTANT)
    Q_PROPERTY(tavrik::TranscriptionModel* today READ today CONSTANT)
    Q_PROPERTY(tavrik::TranscriptionModel* all READ all CONSTANT)

public:
    struct Collaborators {
        HistoryStore& store;
        Clipboard& clipboard;
        MainQueue& queue;
        DayWatcher& days;
        /// Of the computer's user, as the system reports it.
        QString fullUserName;
        UserLocale locale = UserLocale::fromEnvironment();
        DayClock::Now now = qOverload<>(&QDateTime::currentDateTime);
    };

    explicit HistoryPages(const Collaborators& with, QObject* parent = nullptr);
    ~HistoryPages() override;

    QString firstName() const;
    UsageFigures* figures();
    TranscriptionModel* today();
    TranscriptionModel* all();

    /// The window comes up: makes sure that today is today.
    void aboutToShow();

private:
    DayWatcher& m_days;
    const QString m_firstName;
    DayClock m_clock;
    UserFormats m_formats;
    UsageFigures m_figures;
    TranscriptionModel m_today;
    TranscriptionModel m_all;
};

} // namespace tavrik
