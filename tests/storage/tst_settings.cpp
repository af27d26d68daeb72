#include "platform/linux/JsonPreferenceStore.h"
#include "storage/Settings.h"
#include "support/FakePlatform.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace tavrik;

// The readers on what a preferences file holds.
class TestSettings : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numbers_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<std::optional<quint32>>("expected");
        const auto row = [](const char* stored, std::optional<quint32> expected = {}) {
            QTest::newRow(stored) << QByteArray(stored) << expected;
        };
        row("0", 0);
        row("40", 40);
        row("40.0", 40);
        row("4e1", 40);
        row("-0.0", 0);
        row("4294967295", 4294967295);
        row("4294967296");
        row("18446744073709551616");
        row("1e300");
        row("-1");
        row("40.5");
        row("\"40\"");
        row("true");
        row("null");
        row("[40]");
        row("{}");
    }
    void numbers() {
        QFETCH(QByteArray, stored);
        QFETCH(std::optional<quint32>, expected);
        const auto settings =
            withFile(R"({"hotkey_keycode":)" + stored + R"(,"hotkey_modifiers":)" + stored + "}");
        QCOMPARE(settings.hotKeyKeyCode(), expected.value_or(49));
        QCOMPARE(settings.hotKeyModifiers(), expected.value_or(2048));
    }

    void booleans_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<std::optional<bool>>("expected");
        QTest::newRow("true") << QByteArray("true") << std::optional(true);
        QTest::newRow("false") << QByteArray("false") << std::optional(false);
        for (const auto* const stored : {"0", "1", "\"false\"", "\"true\"", "null", "[]"})
            QTest::newRow(stored) << QByteArray(stored) << std::optional<bool>();
    }
    void booleans() {
        QFETCH(QByteArray, stored);
        QFETCH(std::optional<bool>, expected);
        const auto settings =
            withFile(R"({"sounds_enabled":)" + stored + R"(,"sidebar_collapsed":)" + stored + "}");
        QCOMPARE(settings.soundsEnabled(), expected.value_or(true));
        QCOMPARE(settings.sidebarCollapsed(), expected.value_or(false));
    }

    void texts_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<std::optional<QString>>("expected");
        QTest::newRow("text") << QByteArray("\"German \u2325\"")
                              << std::optional(QStringLiteral("German \u2325"));
        QTest::newRow("empty") << QByteArray("\"\"") << std::optional(QString());
        for (const auto* const stored : {"1", "true", "null", "[\"German\"]"})
            QTest::newRow(stored) << QByteArray(stored) << std::optional<QString>();
    }
    void texts() {
        QFETCH(QByteArray, stored);
        QFETCH(std::optional<QString>, expected);
        const QByteArrayList keys{"hotkey_display", "target_language", "appearance", "openrouter_model",
                                  "openrouter_api_key"};
        QByteArrayList members;
        for (const auto& key : keys)
            members.append('"' + key + "\":" + stored);
        const auto settings = withFile('{' + members.join(',') + '}');
        QCOMPARE(settings.hotKeyDisplay(), expected.value_or(QStringLiteral("⌥ Space")));
        QCOMPARE(settings.targetLanguage(), expected.value_or(QStringLiteral("English")));
        QCOMPARE(settings.appearance(), expected.value_or(QStringLiteral("system")));
        QCOMPARE(settings.model(), expected.value_or(QStringLiteral("google/gemini-2.5-flash")));
        QCOMPARE(settings.openRouterKey(), expected.value_or(QString()));
    }

    void defaults_data() {
        QTest::addColumn<std::optional<QByteArray>>("content");
        QTest::newRow("no file") << std::optional<QByteArray>();
        for (const auto* const content : {"", "{}", "[]", "{\"sounds_enabled\":false", "\xff"})
            QTest::newRow(content) << std::optional(QByteArray(content));
    }
    void defaults() {
        QFETCH(std::optional<QByteArray>, content);
        const auto settings = withFile(content);
        QCOMPARE(settings.hotKeyKeyCode(), 49);
        QCOMPARE(settings.hotKeyModifiers(), 2048);
        QCOMPARE(settings.hotKeyDisplay(), QStringLiteral("⌥ Space"));
        QVERIFY(settings.soundsEnabled());
        QCOMPARE(settings.targetLanguage(), QStringLiteral("English"));
        QCOMPARE(settings.model(), QStringLiteral("google/gemini-2.5-flash"));
        QVERIFY(settings.openRouterKey().isEmpty());
        QVERIFY(!settings.sidebarCollapsed());
        QCOMPARE(QFile::exists(m_path), content.has_value());
    }

    void appearance_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<AppearanceChoice>("expected");
        QTest::newRow("light") << QByteArray("\"light\"") << AppearanceChoice::light;
        QTest::newRow("dark") << QByteArray("\"dark\"") << AppearanceChoice::dark;
        for (const auto* const stored : {"\"system\"", "\"Dark\"", "\"LIGHT\"", "\"dark \"", "\"\"", "1"})
            QTest::newRow(stored) << QByteArray(stored) << AppearanceChoice::system;
    }
    void appearance() {
        QFETCH(QByteArray, stored);
        QFETCH(AppearanceChoice, expected);
        fake::AppearanceLog appearance;
        withFile(R"({"appearance":)" + stored + "}").applyAppearance(appearance);
        QCOMPARE(appearance.applied, expected);
    }

private:
    Settings withFile(const std::optional<QByteArray>& content) {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(QStringLiteral("preferences.json"));
        if (content)
            test::writeFile(m_path, *content);
        m_store = std::make_unique<JsonPreferenceStore>(m_path);
        return Settings(*m_store);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
    std::unique_ptr<JsonPreferenceStore> m_store;
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
