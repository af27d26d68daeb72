#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

class DayClock;
class HistoryStore;
class UserFormats;

/// The usage statistics as the home page shows them. Main thread only.
class UsageStats : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window")
    Q_PROPERTY(QString totalWords READ totalWords NOTIFY changed)
    Q_PROPERTY(QString wordsPerMinute READ wordsPerMinute NOTIFY changed)
    Q_PROPERTY(QString daysUsed READ daysUsed NOTIFY changed)
    Q_PROPERTY(QString daysLabel READ daysLabel NOTIFY changed)

public:
    UsageStats(const HistoryStore& store, const DayClock& clock, const UserFormats& formats,
               QObject* parent = nullptr);

    QString totalWords() const;
    QString wordsPerMinute() const;
    QString daysUsed() const;
    /// "day" for one, else "days".
    QString daysLabel() const;

Q_SIGNALS:
    void changed();

private:
    void update();

    const HistoryStore& m_store;
    const UserFormats& m_formats;
    qint64 m_totalWords = 0;
    qint64 m_wordsPerMinute = 0;
    qint64 m_daysUsed = 0;
};

} // namespace tavrik
