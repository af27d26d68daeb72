#include "base/FileLock.h"
#include "platform/linux/JsonPreferenceStore.h"
#include "platform/linux/XdgFolders.h"
#include "preferences/PreferencesCommand.h"
#include "preferences/Settings.h"
#include "support/Files.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <sys/wait.h>

#include <chrono>
#include <csignal>

using namespace tavrik;
using namespace tavrik::test;
using namespace std::chrono_literals;

/// The file, its typed readers, and the command.
class PreferencesTest : public QObject {
    Q_OBJECT

    struct Outcome {
        ExitStatus status;
        QString out;
        QString err;
    };

    std::unique_ptr<QTemporaryDir> m_temporary;
    QString m_folder;
    QString m_path;

    /// Takes JSON in single quotes.
    void write(QByteArray json) const {
        QVERIFY(QDir().mkpath(m_folder) && writeFile(m_path, json.replace('\'', '"')));
    }
    Outcome command(const QString& arguments, QString input = {}) const {
        Outcome outcome;
        QTextStream in(&input, QIODevice::ReadOnly);
        QTextStream out(&outcome.out);
        QTextStream err(&outcome.err);
        JsonPreferenceStore store(m_path);
        outcome.status = runPreferencesCommand(arguments.split(' '), store, {in, out, err});
        return outcome;
    }

private Q_SLOTS:
    void init() {
        m_temporary = std::make_unique<QTemporaryDir>();
        m_folder = m_temporary->filePath("config/Tavrik");
        m_path = m_folder + "/preferences.json";
    }

    void keepsTypesAndWhatItDoesNotKnow() {
        write("{'z':{'deep':[1,2.5,null,'x']},'a':12345678901,'b':null}");
        JsonPreferenceStore store(m_path);
        for (const QVariant& value :
             QVariantList{"49", qlonglong{-9007199254740993}, 0.1, "⌥ \"Space\"\n\u200c", false}) {
            QVERIFY(store.setValue("b", value));
            const auto read = JsonPreferenceStore(m_path).value("b");
            QCOMPARE(read.typeId(), value.typeId());
            QCOMPARE(read, value);
        }
        QVERIFY(store.remove("a") && store.remove("never there"));
        QCOMPARE(QJsonDocument::fromJson(contentOf(m_path)),
                 QJsonDocument::fromJson(R"({"z":{"deep":[1,2.5,null,"x"]},"b":false})"));
    }

    void isForTheUserAlone() {
        write("{}");
        ::chmod(QFile::encodeName(m_folder).constData(), 0775);
        JsonPreferenceStore store(m_path);
        QCOMPARE(modeOf(m_folder), mode_t{0700});
        QCOMPARE(modeOf(m_path), mode_t{0600});
        QVERIFY(store.setValue("a", 1));
        QCOMPARE(modeOf(m_path), mode_t{0600});
    }

    // Where the file really is, if a symbolic link leads to it.
    void keepsABrokenFileAside() {
        for (const auto& content : {QByteArray(), QByteArray(R"({"a":1,)"), QByteArray("[1]"),
                                    "{\"a\":\"" + QByteArray(1 << 20, 'x') + "\"}"}) {
            init();
            const auto target = m_temporary->filePath("preferences.json");
            QVERIFY(QDir().mkpath(m_folder) && writeFile(target, content) && QFile::link(target, m_path));
            JsonPreferenceStore store(m_path);
            QVERIFY(store.keys().isEmpty() && store.remove("a"));
            QCOMPARE(contentOf(target), content);
            QVERIFY(store.setValue("b", 2));
            QCOMPARE(JsonPreferenceStore(target).keys(), QStringList{"b"});
            const auto aside = QDir(m_temporary->path()).entryList({"preferences (unreadable *).json"});
            QCOMPARE(aside.size(), 1);
            QCOMPARE(contentOf(m_temporary->filePath(aside.first())), content);
            QCOMPARE(modeOf(m_temporary->filePath(aside.first())), mode_t{0600});
        }
    }

    void sharesTheFileWithOtherProcesses() {
        const auto startWriter = [this](const QString& prefix, int count) {
            const pid_t writer = ::fork();
            if (writer != 0)
                return writer;
            JsonPreferenceStore store(m_path);
            // No user writes without a pause, in which the other one gets a chance.
            for (int i = 0; i < count && store.setValue(prefix + QString::number(i), i); ++i)
                QThread::msleep(1);
            ::_exit(0);
        };
        const pid_t first = startWriter("first", 100);
        JsonPreferenceStore store(m_path);
        for (int kill = 0; kill < 20; ++kill) {
            const pid_t killed = startWriter("killed", 1'000'000);
            QTest::qSleep(5 + kill / 2);
            ::kill(killed, SIGKILL);
            QCOMPARE(::waitpid(killed, nullptr, 0), killed);
            QVERIFY(store.setValue("own", kill));
        }
        QCOMPARE(::waitpid(first, nullptr, 0), first);
        QCOMPARE(store.keys().filter("first").size(), 100);
        QCOMPARE(QDir(m_folder).entryList(QDir::Files | QDir::Hidden),
                 (QStringList{".preferences.lock", "preferences.json"}));
        const FileLock lock(m_folder + "/.preferences.lock", 0s);
        QVERIFY(lock.isHeld() && !store.setValue("own", "never"));
    }

    void tellsOfChangesFromOutside() {
        JsonPreferenceStore store(m_path);
        JsonPreferenceStore other(m_path);
        int changes = 0;
        qlonglong seen = 0;
        store.watch([&] {
            ++changes;
            seen = store.value("a").toLongLong();
        });
        QVERIFY(other.setValue("a", 1)); // makes the file
        QTRY_COMPARE(seen, 1);
        QVERIFY(other.setValue("a", 2)); // replaces it
        QTRY_COMPARE(seen, 2);
        write("{'a':3}"); // in place
        QTRY_COMPARE(seen, 3);
        QVERIFY(QFile::remove(m_path));
        QTRY_COMPARE(seen, 0);

        int changesOfOther = 0;
        other.watch([&changesOfOther] { ++changesOfOther; });
        changes = 0;
        QVERIFY(store.setValue("own", 1));
        QTRY_COMPARE(changesOfOther, 1);
        QCOMPARE(changes, 0);
        // Our own change does not hide another one just before it.
        QVERIFY(other.setValue("a", 7) && store.setValue("own", 2));
        QTRY_COMPARE(seen, 7);
        QCOMPARE(changes, 1);
    }

    void takesItsFoldersFromTheEnvironment() {
        qputenv("XDG_DATA_HOME", "some/where");
        qputenv("XDG_CONFIG_HOME", "/some/where/");
        QCOMPARE(xdgFolders().applicationSupport, QDir::homePath() + "/.local/share/Tavrik");
        QCOMPARE(xdgPreferencesFile(), "/some/where/Tavrik/preferences.json");
    }

    void readsWhatIsOfTheRightType() {
        JsonPreferenceStore store(m_path);
        const Settings settings(store);
        write("{'hotkey_keycode':40.0,'sounds_enabled':false,'target_language':''}");
        QCOMPARE(settings.hotKeyKeyCode(), 40);
        QVERIFY(!settings.soundsEnabled());
        QCOMPARE(settings.targetLanguage(), QString());
        for (const auto& [number, boolean, text] :
             {std::tuple{"-1", "0", "0"}, {"4294967296", "1", "1"}, {"'40'", "'false'", "false"}}) {
            write(QByteArray("{'hotkey_keycode':") + number + ",'sounds_enabled':" + boolean +
                  ",'target_language':" + text + '}');
            QCOMPARE(settings.hotKeyKeyCode(), 49);
            QVERIFY(settings.soundsEnabled());
            QCOMPARE(settings.targetLanguage(), "English");
        }
    }

    void getsAndLists() {
        write("{'openrouter_api_key':'sk-1','x':{'y':[1]},'hotkey_keycode':true,'hotkey_modifiers':50,"
              "'target_language':'\u001b[31m'}");
        const auto list = command("list").out;
        for (const auto* const line :
             {"hotkey_keycode = 49 (default; what is stored is of another type)\n", "hotkey_modifiers = 50\n",
              "hotkey_display = \"⌥ Space\" (default)\n", "target_language = \"\\u001b[31m\"\n",
              "openrouter_api_key = ********\n", "x = {\"y\":[1]} (not a preference of this version)\n"})
            QVERIFY2(list.contains(line), line);
        QCOMPARE(command("get hotkey_modifiers").out, "50\n");
        QCOMPARE(command("get hotkey_keycode").status, exitFailure);
    }

    void changesOrRefuses() {
        const std::tuple<QByteArray, QString, QByteArray, QString> rows[]{
            {"{}", "set openrouter_model 5", "{'openrouter_model':'5'}", ""},
            {"{'x':[1]}", "set hotkey_modifiers 4294967295", "{'hotkey_modifiers':4294967295,'x':[1]}", ""},
            {"{}", "set sounds_enabled false", "{'sounds_enabled':false}", ""},
            {"{}", "set openrouter_api_key -", "{'openrouter_api_key':'sk-1'}", ""},
            {"{'openrouter_api_key':'sk-1','x':1}", "unset openrouter_api_key", "{'x':1}", ""},
            {"{}", "get nonsense", "{}", "no preference \"nonsense\", only hotkey_keycode, hotkey_mod"},
            {"{}", "set hotkey_keycode 4294967296", "{}", "hotkey_keycode takes a whole number"},
            {"{}", "set sounds_enabled 1", "{}", "sounds_enabled takes true or false"},
            {"{}", "set openrouter_api_key sk-1", "{}", "openrouter_api_key -\n"}};
        for (auto [before, arguments, after, error] : rows) {
            write(before);
            const auto outcome = command(arguments, "sk-1\nmore\n");
            QCOMPARE(outcome.status, error.isEmpty() ? exitSuccess : exitUsage);
            QVERIFY2(outcome.err.isEmpty() == error.isEmpty() && outcome.err.contains(error) &&
                         !outcome.err.contains("sk-1"),
                     qPrintable(outcome.err));
            QCOMPARE(QJsonDocument::fromJson(contentOf(m_path)),
                     QJsonDocument::fromJson(after.replace('\'', '"')));
        }
        QVERIFY(command("set target_language -").err.contains("no value"));
        m_path += "/below";
        for (const auto* const arguments : {"set appearance dark", "unset appearance"})
            QVERIFY(command(arguments).err.contains("could not be written"));
    }
};

QTEST_GUILESS_MAIN(PreferencesTest)
#include "tst_preferences.moc"
