#include "platform/linux/AutostartEntry.h"
#include "platform/linux/FileManagerRevealer.h"
#include "platform/linux/LinuxTexts.h"
#include "platform/linux/UserName.h"
#include "support/FakeLinks.h"

#include <QDBusConnection>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

/// A file manager on the session bus.
class FileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList shown;

public Q_SLOTS:
    void ShowItems(const QStringList& items, const QString&) { shown << items; }
};

} // namespace

class LinuxShellTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void autostartRoundTrip();
    void autostartRefused();
    void autostartState_data();
    void autostartState();
    void autostartStartsTheProgram_data();
    void autostartStartsTheProgram();
    void userName_data();
    void userName();
    void texts();
    void revealsInTheFileManager();
    void opensTheFolderWithoutOne();
};

void LinuxShellTest::autostartRoundTrip() {
    QTemporaryDir folder;
    const auto file = folder.filePath("autostart/io.nordvex.tavrik.desktop");
    AutostartEntry entry(file, "/usr/bin/tavrik");
    QVERIFY(!entry.isEnabled());
    entry.setEnabled(true);
    QVERIFY(entry.isEnabled());
    entry.setEnabled(true);
    QVERIFY(entry.isEnabled());
    entry.setEnabled(false);
    QVERIFY(!entry.isEnabled());
    QVERIFY(!QFile::exists(file));
    entry.setEnabled(false);
}

void LinuxShellTest::autostartRefused() {
    QTemporaryDir folder;
    QFile inTheWay(folder.filePath("autostart"));
    QVERIFY(inTheWay.open(QFile::WriteOnly));
    AutostartEntry entry(folder.filePath("autostart/io.nordvex.tavrik.desktop"), "/usr/bin/tavrik");
    entry.setEnabled(true);
    QVERIFY(!entry.isEnabled());
}

void LinuxShellTest::autostartState_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("expected");
    QTest::newRow("ours") << QByteArray("[Desktop Entry]\nExec=\"/usr/bin/tavrik\"\n") << true;
    QTest::newRow("somebody else's") << QByteArray("# mine\n[Desktop Entry]\nExec = tavrik\nHidden=false\n")
                                     << true;
    QTest::newRow("hidden") << QByteArray("[Desktop Entry]\nExec=tavrik\nHidden=true\n") << false;
    QTest::newRow("switched off") << QByteArray(
                                         "[Desktop Entry]\nExec=tavrik\nX-GNOME-Autostart-enabled=false\n")
                                  << false;
    QTest::newRow("hidden action") << QByteArray(
                                          "[Desktop Entry]\nExec=tavrik\n[Desktop Action x]\nHidden=true\n")
                                   << true;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("noise") << QByteArray("\xff=\n=\n[\n") << false;
}

void LinuxShellTest::autostartState() {
    QFETCH(QByteArray, content);
    QTemporaryDir folder;
    QFile file(folder.filePath("entry.desktop"));
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(content);
    file.close();
    QTEST(AutostartEntry(file.fileName(), "/usr/bin/tavrik").isEnabled(), "expected");
}

void LinuxShellTest::autostartStartsTheProgram_data() {
    QTest::addColumn<QString>("name");
    for (const auto* name : {"plain", "two words", "quote\"d", "back\\slash", "$HOME", "`id`", "پارسی"})
        QTest::newRow(name) << QString(name);
}

// As a desktop starts it.
void LinuxShellTest::autostartStartsTheProgram() {
    QFETCH(QString, name);
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(name));
    const auto program = folder.filePath(name + "/program");
    QFile script(program);
    QVERIFY(script.open(QFile::WriteOnly));
    script.write("#!/bin/sh\necho started >\"$(dirname \"$0\")/mark\"\n");
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    script.close();

    const auto entry = folder.filePath("entry.desktop");
    AutostartEntry(entry, program).setEnabled(true);
    QCOMPARE(QProcess::execute("gio", {"launch", entry}), 0);
    QTRY_VERIFY(QFile::exists(folder.filePath(name + "/mark")));
}

void LinuxShellTest::userName_data() {
    QTest::addColumn<QString>("gecos");
    QTest::addColumn<QString>("expected");
    QTest::newRow("full") << u"Sara Ahmadi,Room 1,,"_s << u"Sara Ahmadi"_s;
    QTest::newRow("alone") << u"سارا احمدی"_s << u"سارا احمدی"_s;
    QTest::newRow("empty") << u",,,"_s << u"sara"_s;
    QTest::newRow("ampersand") << u"& Ahmadi"_s << u"Sara Ahmadi"_s;
}

void LinuxShellTest::userName() {
    QFETCH(QString, gecos);
    QTEST(nameFromGecos(gecos, u"sara"_s), "expected");
}

void LinuxShellTest::texts() {
    QCOMPARE(linuxTexts(QDir::homePath() + "/.local/share/Tavrik").dataFolder,
             "Transcriptions live in ~/.local/share/Tavrik.");
    QCOMPARE(linuxTexts("/srv/data/Tavrik").dataFolder, "Transcriptions live in /srv/data/Tavrik.");
}

void LinuxShellTest::revealsInTheFileManager() {
    // On a connection of its own, as a program of its own is.
    auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "file manager");
    FileManager manager;
    QVERIFY(bus.registerObject("/org/freedesktop/FileManager1", &manager, QDBusConnection::ExportAllSlots));
    QVERIFY(bus.registerService("org.freedesktop.FileManager1"));
    fake::Links links;
    FileManagerRevealer(links).reveal("/tmp/a folder/پوشه");
    QTRY_COMPARE(manager.shown, QStringList("file:///tmp/a%20folder/%D9%BE%D9%88%D8%B4%D9%87"));
    QVERIFY(links.opened.isEmpty());
    QDBusConnection::disconnectFromBus("file manager");
}

void LinuxShellTest::opensTheFolderWithoutOne() {
    fake::Links links;
    FileManagerRevealer(links).reveal("/tmp/a folder");
    QTRY_COMPARE(links.opened, QList<QUrl>{QUrl::fromLocalFile("/tmp/a folder")});
}

QTEST_GUILESS_MAIN(LinuxShellTest)
#include "tst_linuxshell.moc"
