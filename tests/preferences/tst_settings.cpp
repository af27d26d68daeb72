#include "platform/linux/JsonPreferenceStore.h"
#include "preferences/Settings.h"
#include "support/FakePlatform.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

using namespace tavrik;

// The readers on what a preferences file holds.
class TestSettings : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatIsStoredCounts() {
        const auto settings = withFile(
            R"({"hotkey_keycode":40.0,"hotkey_modifiers":4294967295,"hotkey_display":"⌘ K","sounds_enabled":false,)"
            R"("target_language":"","appearance":"dark","openrouter_model":"own/model","openrouter_api_key":"sk-1",)"
            R"("sidebar_collapsed":true})");
        QCOMPARE(settings.hotKeyKeyCode(), 40);
        QCOMPARE(settings.hotKeyModifiers(), 4294967295);
        QCOMPARE(settings.hotKeyDisplay(), QStringLiteral("⌘ K"));
        QVERIFY(!settings.soundsEnabled());
        QCOMPARE(settings.targetLanguage(), QString());
        QCOMPARE(settings.appearance(), QStringLiteral("dark"));
        QCOMPARE(settings.model(), QStringLiteral("own/model"));
        QCOMPARE(settings.openRouterKey(), QStringLiteral("sk-1"));
        QVERIFY(settings.sidebarCollapsed());
    }

    void whatIsOfAnotherTypeDoesNot_data() {
        QTest::addColumn<QByteArray>("number");
        QTest::addColumn<QByteArray>("boolean");
        QTest::addColumn<QByteArray>("text");
        const auto row = [](const char* number, const char* boolean, const char* text) {
            QTest::newRow(number) << QByteArray(number) << QByteArray(boolean) << QByteArray(text);
        };
        row("-1", "0", "0");
        row("4294967296", "1", "1");
        row("40.5", "\"true\"", "true");
        row("\"40\"", "\"false\"", "false");
        row("null", "null", "null");
        row("1e300", "[true]", "[\"x\"]");
    }
    void whatIsOfAnotherTypeDoesNot() {
        QFETCH(QByteArray, number);
        QFETCH(QByteArray, boolean);
        QFETCH(QByteArray, text);
        const auto settings =
            withFile(R"({"hotkey_keycode":)" + number + R"(,"hotkey_modifiers":)" + number +
                     R"(,"sounds_enabled":)" + boolean + R"(,"sidebar_collapsed":)" + boolean +
                     R"(,"target_language":)" + text + R"(,"openrouter_api_key":)" + text + "}");
        QCOMPARE(settings.hotKeyKeyCode(), 49);
        QCOMPARE(settings.hotKeyModifiers(), 2048);
        QVERIFY(settings.soundsEnabled());
        QVERIFY(!settings.sidebarCollapsed());
        QCOMPARE(settings.targetLanguage(), QStringLiteral("English"));
        QCOMPARE(settings.openRouterKey(), QString());
    }

    void appearance() {
        const std::pair<const char*, AppearanceChoice> expected[]{{"light", AppearanceChoice::light},
                                                                  {"dark", AppearanceChoice::dark},
                                                                  {"system", AppearanceChoice::system},
                                                                  {"Dark", AppearanceChoice::system}};
        for (const auto& [stored, choice] : expected) {
            fake::AppearanceLog appearance;
            withFile(QByteArray("{\"appearance\":\"") + stored + "\"}").applyAppearance(appearance);
            QCOMPARE(appearance.applied, choice);
        }
    }

private:
    Settings withFile(const QByteArray& content) {
        const auto path = m_folder.filePath(QStringLiteral("preferences.json"));
        test::writeFile(path, content);
        m_store = std::make_unique<JsonPreferenceStore>(path);
        return Settings(*m_store);
    }

    QTemporaryDir m_folder;
    std::unique_ptr<JsonPreferenceStore> m_store;
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
