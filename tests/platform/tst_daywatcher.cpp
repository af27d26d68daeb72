// The time zone's file, as desktops change it.

#include "platform/linux/LinuxDayWatcher.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

#include <cstdio>

using namespace tavrik;

class DayWatcherTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void seesTheZoneReplaced() {
        const QTemporaryDir folder;
        const auto link = folder.filePath("localtime").toLocal8Bit();
        const auto next = folder.filePath("next").toLocal8Bit();
        QCOMPARE(::symlink("/usr/share/zoneinfo/UTC", link.constData()), 0);

        int calls = 0;
        LinuxDayWatcher watcher(QString::fromLocal8Bit(link));
        watcher.watch([&calls] { ++calls; });
        for (const char* zone : {"Asia/Tehran", "Europe/Rome", "UTC"}) {
            calls = 0;
            const auto target = QByteArray("/usr/share/zoneinfo/") + zone;
            QCOMPARE(::symlink(target.constData(), next.constData()), 0);
            QCOMPARE(std::rename(next.constData(), link.constData()), 0);
            QTRY_VERIFY(calls > 0);
        }
    }

    void seesTheZoneWrittenInPlace() {
        const QTemporaryDir folder;
        QFile file(folder.filePath("localtime"));
        QVERIFY(file.open(QIODevice::WriteOnly));

        int calls = 0;
        LinuxDayWatcher watcher(file.fileName());
        watcher.watch([&calls] { ++calls; });
        QVERIFY(file.write("zone") == 4 && file.flush());
        QTRY_VERIFY(calls > 0);
    }
};

QTEST_GUILESS_MAIN(DayWatcherTest)
#include "tst_daywatcher.moc"
