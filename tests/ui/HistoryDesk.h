#pragma once

// A history in a folder of its own and everything its pages need, with a clock that the test sets.

#include "base/MainQueue.h"
#include "history/HistoryStore.h"
#include "history/HistoryTestData.h"
#include "platform/Clipboard.h"
#include "platform/DayWatcher.h"
#include "support/Files.h"
#include "ui/history/HistoryPages.h"

#include <QTemporaryDir>

namespace tavrik::test {

class HeldClipboard : public Clipboard {
public:
    ServiceStatus status() const override { return {QStringLiteral("fake"), true}; }
    void setText(const QString& text) override { held = text; }
    QString held;
};

class CalledDays : public DayWatcher {
public:
    void watch(std::function<void()> callback) override { changed = std::move(callback); }
    std::function<void()> changed;
};

struct HistoryDesk {
    explicit HistoryDesk(const QList<Transcription>& records = {}) : store(filled(folder.path(), records)) {}

    QTemporaryDir folder;
    HistoryStore store;
    HeldClipboard clipboard;
    CalledDays days;
    MainQueue queue;
    QDateTime now{QDate(2025, 3, 7), QTime(15, 0)};
    UserLocale locale{.texts = "en_US", .numbers = "en_US", .dates = "en_US"};
    HistoryPages pages{dependencies(days)};

    HistoryPages::Dependencies dependencies(DayWatcher& watcher) {
        return {store, clipboard, queue, watcher, "Sara Ahmadi", locale, [this] {
                    return now;
                }};
    }

    static QString filled(const QString& folder, const QList<Transcription>& records) {
        writeFile(folder + "/history.json", encodeHistory(records));
        return folder;
    }

    void dictate(const QByteArray& text, const QDateTime& date, double seconds = 1) {
        store.insertFirst({QUuid::createUuid(), toTimestamp(date), text, seconds});
    }
};

} // namespace tavrik::test
