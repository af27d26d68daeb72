#include "app/CommandLine.h"
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
    void gets() {
        const std::tuple<QByteArray, QByteArray, ExitStatus, QString> rows[]{
            {"{'hotkey_keycode':50}", "hotkey_keycode", exitDone, "50\n"},
            {"{'hotkey_keycode':'50'}", "hotkey_keycode", exitNot, "49\n"},
            {"{}", "openrouter_model", exitNot, "google/gemini-2.5-flash\n"}};
        for (const auto& [content, key, status, out] : rows) {
            const auto outcome = preferences({"get", key}, content);
            QCOMPARE(outcome.out, out);
            QCOMPARE(std::get<ExitStatus>(outcome.result), status);
        }
    }

    void lists() {
        const auto outcome = preferences({"list"}, "{'openrouter_api_key':'sk-1','x':{'y':[1]},"
                                                   "'hotkey_keycode':true,'target_language':'\\u001b[31m'}");
        QCOMPARE(outcome.out, QString("hotkey_keycode = 49 (default; what is stored is of another type)\n"
                                      "hotkey_modifiers = 2048 (default)\n"
                                      "hotkey_display = \"⌥ Space\" (default)\n"
                                      "sounds_enabled = true (default)\n"
                                      "target_language = \"\\u001b[31m\"\n"
                                      "appearance = \"system\" (default)\n"
                                      "openrouter_model = \"google/gemini-2.5-flash\" (default)\n"
                                      "openrouter_api_key = ********\n"
                                      "sidebar_collapsed = false (default)\n"
                                      "x = {\"y\":[1]} (not a preference of this version)\n"));
    }

    void changes() {
        const std::tuple<QByteArray, QByteArrayList, QByteArray> rows[]{
            {"{}", {"set", "openrouter_model", "5"}, "{'openrouter_model':'5'}"},
            {"{'x':[1]}",
             {"set", "hotkey_modifiers", "4294967295"},
             "{'hotkey_modifiers':4294967295,'x':[1]}"},
            {"{}", {"set", "sounds_enabled", "false"}, "{'sounds_enabled':false}"},
            {"{}", {"set", "openrouter_api_key", "-"}, "{'openrouter_api_key':'sk-1'}"},
            {"{'openrouter_api_key':'sk-1','x':1}", {"unset", "openrouter_api_key"}, "{'x':1}"}};
        for (const auto& [before, arguments, after] : rows) {
            const auto outcome = preferences(arguments, before, "sk-1\nmore\n");
            QCOMPARE(std::get<ExitStatus>(outcome.result), exitDone);
            QCOMPARE(outcome.out + outcome.err, QString());
            QCOMPARE(QJsonDocument::fromJson(test::contentOf(m_file)),
                     QJsonDocument::fromJson(quoted(after)));
        }
    }

    void refuses() {
        const std::pair<QByteArray, QString> rows[]{
            {"get nonsense", "no preference \"nonsense\", only hotkey_keycode, hotkey_modifiers, "},
            {"set hotkey_keycode 4294967296", "hotkey_keycode takes a whole number"},
            {"set hotkey_keycode 1.5", "not \"1.5\""},
            {"set sounds_enabled 1", "sounds_enabled takes true or false"},
            {"set sounds_enabled", "Usage:"},
            {"set target_language -", "no value"},
            {"set openrouter_api_key sk-1", "openrouter_api_key -\n"},
            {"frobnicate appearance", "Usage:"},
            {"get appearance now", "Usage:"}};
        for (const auto& [arguments, err] : rows) {
            const auto outcome = preferences(arguments.split(' '), "{}");
            QVERIFY2(outcome.err.contains(err), qPrintable(outcome.err));
            QVERIFY(!outcome.err.contains("sk-1"));
            QCOMPARE(std::get<ExitStatus>(outcome.result), exitUsage);
            QCOMPARE(test::contentOf(m_file), "{}");
        }
    }

    void saysWhenItCannotWrite() {
        QVERIFY(test::writeFile(m_file, "x"));
        for (const QByteArrayList& arguments : {QByteArrayList{"preferences", "set", "appearance", "dark"},
                                                {"preferences", "unset", "appearance"}}) {
            const auto outcome = run(arguments, m_file + "/below/preferences.json");
            QCOMPARE(std::get<ExitStatus>(outcome.result), exitNot);
            QVERIFY(outcome.err.contains("could not be written"));
        }
    }

    void startsTheProgramOnlyForUrls() {
        const QByteArrayList urls{"TAVRIK:a", "file:///x"};
        QCOMPARE(std::get<StartProgram>(run(urls, {}).result).urls, urls);
        for (const auto* const argument : {"--frobnicate", "record", "./a:b", ""}) {
            const auto outcome = run({argument}, {});
            QCOMPARE(std::get<ExitStatus>(outcome.result), exitUsage);
            QVERIFY(outcome.out.isEmpty() && outcome.err.contains(QString("\"%1\"").arg(argument)));
        }
    }

private:
    Outcome preferences(const QByteArrayList& arguments, const QByteArray& content,
                        const QString& input = {}) const {
        test::writeFile(m_file, quoted(content));
        return run(QByteArrayList{"preferences"} + arguments, m_file, input);
    }

    static Outcome run(const QByteArrayList& arguments, const QString& path, QString input = {}) {
        Outcome outcome;
        QTextStream in(&input, QIODevice::ReadOnly);
        QTextStream out(&outcome.out);
        QTextStream err(&outcome.err);
        outcome.result = runCommandLine(
            arguments, [&path] { return std::make_unique<JsonPreferenceStore>(path); }, {in, out, err});
        return outcome;
    }

    const QTemporaryDir m_folder;
    const QString m_file = m_folder.filePath("preferences.json");
};

QTEST_GUILESS_MAIN(TestPreferencesCommand)
#include "tst_preferencescommand.moc"
