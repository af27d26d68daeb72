// The time zone's file, as desktops change it.

#include "platform/linux/LinuxDayWatcher.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

#include <cstdio>

using namespace tavrik;

class DayWatcherTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void seesTheZoneChange() {
        const QTemporaryDir folder;
        const auto file = folder.filePath("localtime").toLocal8Bit();
        const auto next = folder.filePath("next").toLocal8Bit();
        QCOMPARE(::symlink("/usr/share/zoneinfo/UTC", file.constData()), 0);

        int calls = 0;
        LinuxDayWatcher watcher(QString::fromLocal8Bit(file));
        watcher.watch([&calls] { ++calls; });
        for (const char* zone : {"Asia/Tehran", "Europe/Rome"}) {
            calls = 0;
            const auto target = QByteArray("/usr/share/zoneinfo/") + zone;
            QCOMPARE(::symlink(target.constData(), next.constData()), 0);
            QCOMPARE(std::rename(next.constData(), file.constData()), 0);
            QTRY_VERIFY(calls > 0);
        }

        QVERIFY(test::writeFile(next, "zone"));
        calls = 0;
        QCOMPARE(std::rename(next.constData(), file.constData()), 0);
        QTRY_VERIFY(calls > 0);
        calls = 0;
        QVERIFY(test::writeFile(file, "in place"));
        QTRY_VERIFY(calls > 0);
    }
};

QTEST_GUILESS_MAIN(DayWatcherTest)
#include "tst_daywatcher.moc"
