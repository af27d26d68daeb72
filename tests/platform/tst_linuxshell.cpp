#include "platform/linux/AutostartEntry.h"
#include "platform/linux/LinuxTexts.h"
#include "platform/linux/UserName.h"
#include "support/Files.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

class LinuxShellTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void autostartState_data();
    void autostartState();
    void autostartStartsTheProgram_data();
    void autostartStartsTheProgram();
    void userName_data();
    void userName();
    void texts();
};

void LinuxShellTest::autostartState_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("expected");
    QTest::newRow("ours") << QByteArray("[Desktop Entry]\nExec=\"/usr/bin/tavrik\"\n") << true;
    QTest::newRow("hidden") << QByteArray("[Desktop Entry]\nExec=tavrik\nHidden=true\n") << false;
    QTest::newRow("switched off") << QByteArray(
                                         "[Desktop Entry]\nExec=tavrik\nX-GNOME-Autostart-enabled=false\n")
                                  << false;
    QTest::newRow("hidden action") << QByteArray(
                                          "[Desktop Entry]\nExec=tavrik\n[Desktop Action x]\nHidden=true\n")
                                   << true;
    QTest::newRow("noise") << QByteArray("\xff=\n=\n[\n") << false;
}

void LinuxShellTest::autostartState() {
    QFETCH(QByteArray, content);
    QTemporaryDir folder;
    const auto file = folder.filePath("entry.desktop");
    QVERIFY(test::writeFile(file, content));
    QTEST(AutostartEntry(file, "/usr/bin/tavrik").isEnabled(), "expected");
}

void LinuxShellTest::autostartStartsTheProgram_data() {
    QTest::addColumn<QString>("name");
    for (const auto* name : {"two words", "quote\"d", "back\\slash", "$HOME `id`", "پارسی"})
        QTest::newRow(name) << QString(name);
}

// As a desktop starts it.
void LinuxShellTest::autostartStartsTheProgram() {
    QFETCH(QString, name);
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir(name));
    const auto program = folder.filePath(name + "/program");
    QVERIFY(test::writeFile(program, "#!/bin/sh\necho started >\"$(dirname \"$0\")/mark\"\n"));
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));

    const auto entry = folder.filePath("entry.desktop");
    AutostartEntry(entry, program).setEnabled(true);
    QCOMPARE(QProcess::execute("gio", {"launch", entry}), 0);
    QTRY_VERIFY(QFile::exists(folder.filePath(name + "/mark")));
}

void LinuxShellTest::userName_data() {
    QTest::addColumn<QString>("gecos");
    QTest::addColumn<QString>("expected");
    QTest::newRow("full") << u"Sara Ahmadi,Room 1,,"_s << u"Sara Ahmadi"_s;
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

QTEST_GUILESS_MAIN(LinuxShellTest)
#include "tst_linuxshell.moc"
