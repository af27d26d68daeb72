#include "commands/CommandLine.h"
#include "platform/linux/JsonPreferenceStore.h"
#include "support/Files.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace tavrik;

namespace {

// JSON written with single quotes.
QByteArray quoted(QByteArray json) {
    return json.replace('\'', '"');
}

struct Outcome {
    std::variant<ExitStatus, StartProgram> result;
    QString out;
    QString err;
};

} // namespace

class TestPreferencesCommand : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void preferences_data() {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArrayList>("arguments");
        QTest::addColumn<QString>("input");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        QTest::addColumn<QByteArray>("after");
        const QByteArray empty = "{}";
        const auto row = [](const char* name, const QByteArray& before, const QByteArray& arguments,
                            int status, const QString& out, const QString& err, const QByteArray& after,
                            const QString& input = {}) {
            QTest::addRow("%s", name)
                << quoted(before) << arguments.split(' ') << input << status << out << err << quoted(after);
        };
        row("get number", "{'hotkey_keycode':50}", "get hotkey_keycode", 0, "50\n", "",
            "{'hotkey_keycode':50}");
        row("get false", "{'sounds_enabled':false}", "get sounds_enabled", 0, "false\n", "",
            "{'sounds_enabled':false}");
        row("get the default", empty, "get openrouter_model", 1, "google/gemini-2.5-flash\n", "", empty);
        row("get a wrong type", "{'hotkey_keycode':'50'}", "get hotkey_keycode", 1, "49\n", "",
            "{'hotkey_keycode':'50'}");
        row("get unknown", empty, "get nonsense", 2, "",
            "no preference \"nonsense\", only hotkey_keycode, hotkey_modifiers, "
            "hotkey_display, "
            "sounds_enabled, "
            "target_language, appearance, openrouter_model, openrouter_api_key, "
            "sidebar_collapsed\n",
            empty);
        row("set a text that looks like a number", empty, "set openrouter_model 5", 0, "", "",
            "{'openrouter_model':'5'}");
        row("set number", "{'other':[1]}", "set hotkey_modifiers 4294967295", 0, "", "",
            "{'hotkey_modifiers':4294967295,'other':[1]}");
        row("set Boolean", empty, "set sounds_enabled false", 0, "", "", "{'sounds_enabled':false}");
        row("set too large", empty, "set hotkey_keycode 4294967296", 2, "",
            "hotkey_keycode takes a whole number", empty);
        row("set fraction", empty, "set hotkey_keycode 1.5", 2, "", "not \"1.5\"", empty);
        row("set no Boolean", empty, "set sounds_enabled 1", 2, "", "sounds_enabled takes true or false",
            empty);
        row("set without value", empty, "set sounds_enabled", 2, "", "Usage:", empty);
        row("set from input", empty, "set openrouter_api_key -", 0, "", "", "{'openrouter_api_key':'sk-1'}",
            "sk-1\nmore\n");
        row("set from input without a newline", empty, "set hotkey_keycode -", 0, "", "",
            "{'hotkey_keycode':7}", "7");
        row("set from no input", empty, "set openrouter_api_key -", 2, "", "no value", empty);
        row("set the key as an argument", empty, "set openrouter_api_key sk-1", 2, "",
            "openrouter_api_key -\n", empty);
        row("unset", "{'openrouter_api_key':'sk-1','x':1}", "unset openrouter_api_key", 0, "", "", "{'x':1}");
        row("unset unknown", "{'x':1}", "unset x", 2, "", "no preference \"x\"", "{'x':1}");
        row("list",
            "{'openrouter_api_key':'sk-1','x':{'y':[1]},'hotkey_keycode':true,'"
            "target_language':'\\u001b[31m'"
            "}",
            "list", 0,
            "hotkey_keycode = 49 (default; what is stored is of another type)\n"
            "hotkey_modifiers = 2048 (default)\n"
            "hotkey_display = \"⌥ Space\" (default)\n"
            "sounds_enabled = true (default)\n"
            "target_language = \"\\u001b[31m\"\n"
            "appearance = \"system\" (default)\n"
            "openrouter_model = \"google/gemini-2.5-flash\" (default)\n"
            "openrouter_api_key = ********\n"
            "sidebar_collapsed = false (default)\n"
            "x = {\"y\":[1]} (not a preference of this version)\n",
            "",
            "{'openrouter_api_key':'sk-1','x':{'y':[1]},'hotkey_keycode':true,'"
            "target_language':'\\u001b[31m'"
            "}");
        row("unknown action", empty, "frobnicate appearance", 2, "", "Usage:", empty);
        row("too many words", empty, "get appearance now", 2, "", "Usage:", empty);
    }
    void preferences() {
        QFETCH(QByteArray, before);
        QFETCH(QByteArrayList, arguments);
        QFETCH(QString, input);
        QFETCH(int, status);
        QFETCH(QString, out);
        QFETCH(QString, err);
        QFETCH(QByteArray, after);
        const QTemporaryDir folder;
        const auto path = folder.filePath("preferences.json");
        QVERIFY(test::writeFile(path, before));
        arguments.prepend("preferences");
        const auto outcome = run(arguments, path, input);
        QCOMPARE(std::get<ExitStatus>(outcome.result), status);
        QCOMPARE(outcome.out, out);
        QVERIFY2(outcome.err.contains(err) && outcome.err.isEmpty() == err.isEmpty(),
                 qPrintable(outcome.err));
        QVERIFY(!outcome.err.contains("sk-1"));
        QCOMPARE(QJsonDocument::fromJson(test::contentOf(path)), QJsonDocument::fromJson(after));
    }

    void saysWhenItCannotWrite() {
        const QTemporaryDir folder;
        const auto file = folder.filePath("file");
        QVERIFY(test::writeFile(file, "x"));
        for (const QByteArrayList& arguments : {QByteArrayList{"preferences", "set", "appearance", "dark"},
                                                {"preferences", "unset", "appearance"}}) {
            const auto outcome = run(arguments, file + "/below/preferences.json");
            QCOMPARE(std::get<ExitStatus>(outcome.result), exitNot);
            QVERIFY(outcome.err.contains("could not be written"));
        }
    }

    void startsTheProgram_data() {
        QTest::addColumn<QByteArrayList>("arguments");
        QTest::newRow("nothing") << QByteArrayList{};
        QTest::newRow("URL") << QByteArrayList{"tavrik://auth-callback#access_token=%zz\xff"};
        QTest::newRow("two URLs") << QByteArrayList{"TAVRIK:a", "file:///x"};
    }
    void startsTheProgram() {
        QFETCH(QByteArrayList, arguments);
        const auto outcome = run(arguments, {});
        QCOMPARE(std::get<StartProgram>(outcome.result).urls, arguments);
        QVERIFY(outcome.out.isEmpty() && outcome.err.isEmpty());
    }

    void answers_data() {
        QTest::addColumn<QByteArrayList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        QTest::newRow("help") << QByteArrayList{"--help"} << 0 << "preferences set openrouter_api_key -"
                              << "";
        QTest::newRow("version") << QByteArrayList{"--version"} << 0 << "Tavrik " << "";
        QTest::newRow("unknown option") << QByteArrayList{"--frobnicate"} << 2 << "" << "\"--frobnicate\"";
        QTest::newRow("unknown command") << QByteArrayList{"record"} << 2 << "" << "\"record\"";
        QTest::newRow("path") << QByteArrayList{"./a:b"} << 2 << "" << "\"./a:b\"";
        QTest::newRow("empty") << QByteArrayList{""} << 2 << "" << "\"\"";
        QTest::newRow("preferences alone") << QByteArrayList{"preferences"} << 2 << "" << "Usage:";
    }
    void answers() {
        QFETCH(QByteArrayList, arguments);
        QFETCH(int, status);
        QFETCH(QString, out);
        QFETCH(QString, err);
        const QTemporaryDir folder;
        const auto outcome = run(arguments, folder.filePath("preferences.json"));
        QCOMPARE(std::get<ExitStatus>(outcome.result), status);
        QVERIFY2(outcome.out.contains(out) && outcome.out.isEmpty() == out.isEmpty(),
                 qPrintable(outcome.out));
        QVERIFY2(outcome.err.contains(err) && outcome.err.isEmpty() == err.isEmpty(),
                 qPrintable(outcome.err));
    }

private:
    static Outcome run(const QByteArrayList& arguments, const QString& path, QString input = {}) {
        Outcome outcome;
        QTextStream in(&input, QIODevice::ReadOnly);
        QTextStream out(&outcome.out);
        QTextStream err(&outcome.err);
        outcome.result = runCommandLine(
            arguments, [&path] { return std::make_unique<JsonPreferenceStore>(path); }, {in, out, err});
        return outcome;
    }
};

QTEST_GUILESS_MAIN(TestPreferencesCommand)
#include "tst_preferencescommand.moc"
