#include "platform/Launcher.h"
#include "platform/linux/AutostartEntry.h"
#include "platform/linux/DBusApplicationInstance.h"
#include "platform/linux/LinuxDayWatcher.h"
#include "platform/linux/LinuxTexts.h"
#include "platform/linux/PortalAppearance.h"
#include "platform/linux/UserName.h"
#include "support/Files.h"

#include <QApplication>
#include <QDir>
#include <QProcess>
#include <QProxyStyle>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

#include <cstdio>
#include <future>
#include <random>
#include <vector>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

/// What a desktop's theme is to Qt.
class DesktopTheme : public QProxyStyle {
public:
    explicit DesktopTheme(bool dark) : m_palette(dark ? Qt::black : Qt::white) {}
    using QProxyStyle::polish;
    void polish(QPalette& palette) override { palette = m_palette; }

private:
    const QPalette m_palette;
};

} // namespace

class LinuxShellTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void autostartState() {
        const QTemporaryDir folder;
        const auto file = folder.filePath("entry.desktop");
        for (const auto& [enabled, content] :
             {std::pair{true, "[Desktop Entry]\nExec=\"/usr/bin/tavrik\"\n"},
              {false, "[Desktop Entry]\nExec=tavrik\nHidden=true\n"},
              {false, "[Desktop Entry]\nExec=tavrik\nX-GNOME-Autostart-enabled=false\n"},
              {true, "[Desktop Entry]\nExec=tavrik\n[Desktop Action x]\nHidden=true\n"},
              {false, "\xff=\n=\n[\n"}}) {
            QVERIFY(test::writeFile(file, content));
            QVERIFY2(AutostartEntry(file, "/usr/bin/tavrik").isEnabled() == enabled, content);
        }
    }

    // As a desktop starts it.
    void autostartStartsTheProgram() {
        const QTemporaryDir folder;
        const auto entry = folder.filePath("entry.desktop");
        for (const auto* name : {"two words", "quote\"d", "back\\slash", "$HOME `id`", "پارسی"}) {
            QVERIFY(QDir(folder.path()).mkdir(name));
            const auto program = folder.filePath(name + u"/program"_s);
            QVERIFY(test::writeFile(program, "#!/bin/sh\necho started >\"$(dirname \"$0\")/mark\"\n"));
            QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
            AutostartEntry(entry, program).setEnabled(true);
            QCOMPARE(QProcess::execute("gio", {"launch", entry}), 0);
            QTRY_VERIFY2(QFile::exists(folder.filePath(name + u"/mark"_s)), name);
        }
    }

    // As desktops change it.
    void seesTheTimeZoneChange() {
        const QTemporaryDir folder;
        const auto file = folder.filePath("localtime").toLocal8Bit();
        const auto next = folder.filePath("next").toLocal8Bit();
        QCOMPARE(::symlink("/usr/share/zoneinfo/UTC", file.constData()), 0);
        int calls = 0;
        LinuxDayWatcher watcher(QString::fromLocal8Bit(file));
        watcher.watch([&calls] { ++calls; });
        for (const char* zone : {"/usr/share/zoneinfo/Asia/Tehran", "/usr/share/zoneinfo/Europe/Rome", ""}) {
            QVERIFY(*zone ? ::symlink(zone, next.constData()) == 0 : test::writeFile(next, "zone"));
            calls = 0;
            QCOMPARE(std::rename(next.constData(), file.constData()), 0);
            QTRY_VERIFY(calls > 0);
        }
        calls = 0;
        QVERIFY(test::writeFile(file, "in place"));
        QTRY_VERIFY(calls > 0);
    }

    void handsUrlsToTheRunningProgram() {
        // As another launch would, while this one serves its event loop.
        const auto forward = [](QByteArrayList urls) {
            std::vector<char*> arguments;
            for (auto& url : urls)
                arguments.push_back(url.data());
            auto answer = std::async(std::launch::async, [&] { return forwardLaunch(arguments); });
            while (answer.wait_for(std::chrono::seconds()) != std::future_status::ready)
                QTest::qWait(1);
            return answer.get();
        };
        using enum Delivery;
        QCOMPARE(forward({"tavrik:"}), noneRuns);
        QByteArrayList told;
        {
            DBusApplicationInstance running;
            QVERIFY(running.claim(
                {{},
                 [&](const auto& token) { told << token; },
                 [&](const auto& urls, const auto& token) { told += urls + QByteArrayList{token}; },
                 {},
                 {}}));
            QCOMPARE(forward({}), taken);
            qputenv("XDG_ACTIVATION_TOKEN", "token");
            // What is no text cannot cross the bus as it is.
            QCOMPARE(forward({"TAVRIK:#a=%zz%c3", "tavrik:ک", "tavrik:\xc3\xa9\xff~"}), taken);
            const QByteArrayList expected{"", "TAVRIK:#a=%zz%c3", "tavrik:ک", "tavrik:%C3%A9%FF~", "token"};
            QTRY_COMPARE(told, expected);
        }
        QCOMPARE(forward({}), noneRuns);
    }

    void namesAndTexts() {
        QCOMPARE(nameFromGecos(u"Sara Ahmadi,Room 1,,"_s, u"sara"_s), "Sara Ahmadi");
        QCOMPARE(nameFromGecos(u",,,"_s, u"sara"_s), "sara");
        QCOMPARE(nameFromGecos(u"& Ahmadi"_s, u"sara"_s), "Sara Ahmadi");
        QVERIFY(linuxTexts(QDir::homePath() + "/Tavrik", {}).dataFolder.endsWith(" in ~/Tavrik."));
        const auto texts = linuxTexts("/srv/data/Tavrik", {});
        QCOMPARE(texts.dataFolder, "Transcriptions live in /srv/data/Tavrik.");
        QCOMPARE(texts.shortcutNote(u"⌃⌥⇧⌘ Delete"_s),
                 "Ctrl + Alt + Shift + Super + Backspace on this keyboard");
        QCOMPARE(texts.shortcutNote(u"Alt+Space"_s), "");
    }

    // Without a portal. The desktop turns [l]ight or [d]ark; the user chooses [S]ystem, [L]ight or [D]ark.
    void looksAsChosenWhateverTheDesktopTurnsTo() {
        std::mt19937 random(5);
        QByteArray taken;
        char desktop = 'l';
        char choice = 'S';
        QApplication::setStyle(new DesktopTheme(false));
        PortalAppearance appearance;
        for (int step = 0; step < 500; ++step) {
            const char next = "ldSLD"[random() % 5];
            taken += next;
            if (next == 'l' || next == 'd') {
                desktop = next;
                QApplication::setStyle(new DesktopTheme(next == 'd'));
            } else {
                choice = next;
                appearance.apply(next == 'S'   ? AppearanceChoice::system
                                 : next == 'L' ? AppearanceChoice::light
                                               : AppearanceChoice::dark);
            }
            QCoreApplication::processEvents();
            const bool dark = choice == 'D' || (choice == 'S' && desktop == 'd');
            QVERIFY2((QApplication::palette().color(QPalette::Window).lightness() < 128) == dark,
                     taken.right(8).constData());
        }
    }
};

QTEST_MAIN(LinuxShellTest)
#include "tst_linuxshell.moc"
