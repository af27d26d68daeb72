#include "base/FileLock.h"
#include "platform/linux/JsonPreferenceStore.h"
#include "platform/linux/XdgFolders.h"
#include "support/Files.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <chrono>

using namespace tavrik;
using namespace tavrik::test;
using namespace std::chrono_literals;

class TestPreferenceStore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_temporary = std::make_unique<QTemporaryDir>();
        m_folder = m_temporary->filePath("config/Tavrik");
        m_path = m_folder + "/preferences.json";
    }

    void keepsTypes_data() {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("false") << QVariant(false);
        QTest::newRow("whole number") << QVariant(qlonglong{-9007199254740993});
        QTest::newRow("fraction") << QVariant(0.1);
        QTest::newRow("text") << QVariant(QStringLiteral("⌥ \"Space\"\n\u200c"));
        QTest::newRow("text of digits") << QVariant(QStringLiteral("49"));
    }
    void keepsTypes() {
        QFETCH(QVariant, value);
        JsonPreferenceStore store(m_path);
        QVERIFY(!store.value("key").isValid());
        QVERIFY(store.setValue("key", value));
        QVERIFY(store.setValue("other", true));
        const auto read = JsonPreferenceStore(m_path).value("key");
        QCOMPARE(read.typeId(), value.typeId());
        QCOMPARE(read, value);
    }

    void keepsWhatItDoesNotKnow() {
        writeRaw(R"({"z":{"deep":[1,2.5,null,"x"]},"a":12345678901,"b":null})");
        JsonPreferenceStore store(m_path);
        QVERIFY(store.setValue("b", false));
        QVERIFY(store.remove("a"));
        QVERIFY(store.remove("never there"));
        QCOMPARE(store.keys(), (QStringList{"b", "z"}));
        QCOMPARE(QJsonDocument::fromJson(contentOf(m_path)),
                 QJsonDocument::fromJson(R"({"z":{"deep":[1,2.5,null,"x"]},"b":false})"));
    }

    void isForTheUserAlone() {
        JsonPreferenceStore(m_path).setValue("a", 1);
        QCOMPARE(modeOf(m_folder), mode_t{0700});
        QCOMPARE(modeOf(m_path), mode_t{0600});
        ::chmod(QFile::encodeName(m_folder).constData(), 0775);
        ::chmod(QFile::encodeName(m_path).constData(), 0664);
        const JsonPreferenceStore store(m_path);
        QCOMPARE(modeOf(m_folder), mode_t{0700});
        QCOMPARE(modeOf(m_path), mode_t{0600});
    }

    // Edits of the same length, one right after the other: neither size nor time of the file tells them
    // apart.
    void readsAfresh() {
        writeRaw(R"({"a":0})");
        const JsonPreferenceStore store(m_path);
        for (int i = 0; i < 10; ++i) {
            writeRaw(R"({"a":)" + QByteArray::number(i) + "}");
            QCOMPARE(store.value("a"), QVariant(qlonglong{i}));
        }
        QVERIFY(QFile::remove(m_path));
        QVERIFY(!store.value("a").isValid());
    }

    void keepsABrokenFileAside_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("truncated") << QByteArray(R"({"a":1,)");
        QTest::newRow("array") << QByteArray("[1]");
        QTest::newRow("over a megabyte") << "{\"a\":\"" + QByteArray(1 << 20, 'x') + "\"}";
    }
    void keepsABrokenFileAside() {
        QFETCH(QByteArray, content);
        writeRaw(content);
        JsonPreferenceStore store(m_path);
        QVERIFY(!store.value("a").isValid());
        QVERIFY(store.keys().isEmpty());
        QVERIFY(store.remove("a"));
        QCOMPARE(contentOf(m_path), content);
        QVERIFY(store.setValue("b", 2));
        QCOMPARE(store.keys(), QStringList{"b"});
        const auto aside = QDir(m_folder).entryList({"preferences (unreadable *).json"});
        QCOMPARE(aside.size(), 1);
        QCOMPARE(contentOf(m_folder + '/' + aside.first()), content);
    }

    void followsASymbolicLink() {
        const auto target = m_temporary->filePath("elsewhere.json");
        QVERIFY(QDir().mkpath(m_folder) && writeFile(target, R"({"a":1})") && QFile::link(target, m_path));
        QVERIFY(JsonPreferenceStore(m_path).setValue("b", 2));
        QVERIFY(QFileInfo(m_path).isSymLink());
        QCOMPARE(JsonPreferenceStore(target).keys(), (QStringList{"a", "b"}));
    }

    void sharesTheFileWithAnotherProcess() {
        constexpr int count = 100;
        QProcess first;
        QProcess second;
        first.start(QStringLiteral(PREFERENCE_WRITER), {m_path, "first", QString::number(count)});
        second.start(QStringLiteral(PREFERENCE_WRITER), {m_path, "second", QString::number(count)});
        QVERIFY(first.waitForFinished() && second.waitForFinished());
        QCOMPARE(first.exitCode(), 0);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(JsonPreferenceStore(m_path).keys().size(), 2 * count);
    }

    void isNotBlockedByADeadProcess() {
        JsonPreferenceStore store(m_path);
        for (int kill = 0; kill < 20; ++kill) {
            QProcess writer;
            writer.start(QStringLiteral(PREFERENCE_WRITER), {m_path, "key", "1000000"});
            QVERIFY(writer.waitForReadyRead());
            QTest::qSleep(QRandomGenerator::global()->bounded(10));
            writer.kill();
            QVERIFY(writer.waitForFinished());
            QVERIFY(store.setValue("own", kill));
            QCOMPARE(store.value("own"), QVariant(kill));
        }
        const auto names = QDir(m_folder).entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(names, (QStringList{".preferences.lock", "preferences.json"}));
    }

    void givesUpOnALockThatIsNotReleased() {
        JsonPreferenceStore store(m_path);
        QVERIFY(store.setValue("a", 1));
        {
            const FileLock lock(m_folder + "/.preferences.lock", 0s);
            QVERIFY(lock.isHeld());
            QVERIFY(!store.setValue("a", 2));
        }
        QVERIFY(store.setValue("a", 3));
    }

    void tellsOfChangesFromOutside() {
        JsonPreferenceStore store(m_path);
        int changes = 0;
        qlonglong seen = 0;
        store.watch([&] {
            ++changes;
            seen = store.value("a").toLongLong();
        });
        QVERIFY(JsonPreferenceStore(m_path).setValue("a", 1)); // makes the file
        QTRY_COMPARE(seen, 1);
        QVERIFY(JsonPreferenceStore(m_path).setValue("a", 2)); // replaces it
        QTRY_COMPARE(seen, 2);
        writeRaw(R"({"a":3})"); // in place
        QTRY_COMPARE(seen, 3);
        const auto edited = m_folder + "/edited";
        QVERIFY(writeFile(edited, R"({"a":4})"));
        QCOMPARE(::rename(QFile::encodeName(edited).constData(), QFile::encodeName(m_path).constData()), 0);
        QTRY_COMPARE(seen, 4);
        writeRaw(R"({"a":5})"); // in place, on the file that has come instead
        QTRY_COMPARE(seen, 5);
        QVERIFY(QFile::remove(m_path));
        QTRY_COMPARE(seen, 0);
        QVERIFY(JsonPreferenceStore(m_path).setValue("a", 6));
        QTRY_COMPARE(seen, 6);

        // Our own change is told to another's watch only.
        JsonPreferenceStore other(m_path);
        int changesOfOther = 0;
        other.watch([&changesOfOther] { ++changesOfOther; });
        changes = 0;
        QVERIFY(store.setValue("own", 1));
        QTRY_COMPARE(changesOfOther, 1);
        QCOMPARE(changes, 0);
        // It does not hide another one just before it.
        QVERIFY(other.setValue("a", 7));
        QVERIFY(store.setValue("own", 2));
        QTRY_COMPARE(seen, 7);
        QCOMPARE(changes, 1);
    }

    void takesItsFoldersFromTheEnvironment_data() {
        QTest::addColumn<std::optional<QByteArray>>("variable");
        QTest::addColumn<QString>("data");
        QTest::addColumn<QString>("config");
        const auto home = QDir::homePath();
        const auto row = [&](const char* name, const std::optional<QByteArray>& value,
                             const QString& folder = {}) {
            QTest::newRow(name) << value << (folder.isEmpty() ? home + "/.local/share" : folder)
                                << (folder.isEmpty() ? home + "/.config" : folder);
        };
        row("unset", {});
        row("relative", "some/where");
        row("slash at the end", "/some/where/", "/some/where");
    }
    void takesItsFoldersFromTheEnvironment() {
        QFETCH(std::optional<QByteArray>, variable);
        QFETCH(QString, data);
        QFETCH(QString, config);
        for (const auto* const name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME"}) {
            if (variable)
                qputenv(name, *variable);
            else
                qunsetenv(name);
        }
        QCOMPARE(xdgFolders().applicationSupport, data + "/Tavrik");
        QCOMPARE(xdgPreferencesFile(), config + "/Tavrik/preferences.json");
    }

private:
    void writeRaw(const QByteArray& content) const {
        QVERIFY(QDir().mkpath(m_folder));
        QVERIFY(writeFile(m_path, content));
    }

    std::unique_ptr<QTemporaryDir> m_temporary;
    QString m_folder;
    QString m_path;
};

QTEST_GUILESS_MAIN(TestPreferenceStore)
#include "tst_preferencestore.moc"
