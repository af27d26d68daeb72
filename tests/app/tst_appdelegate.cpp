#include "account/Account.h"
#include "app/AppDelegate.h"
#include "app/HotKeyRegistrar.h"
#include "base/MainQueue.h"
#include "capture/AbstractPaster.h"
#include "capture/AbstractRecordingHUD.h"
#include "history/HistoryStore.h"
#include "preferences/Settings.h"
#include "support/FakePlatform.h"
#include "translation/AbstractTranslator.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace tavrik;

namespace {

/// A whole program. The desktop, and all around the controller but the history, is this one object, which
/// writes down what is asked of it.
struct Desk : AbstractRecorder, AbstractRecordingHUD, AbstractTranslator, AbstractPaster, Account {
    Result<void> start() override {
        if (broken)
            return std::unexpected(Error{"no microphone"});
        take = QString("%1/take-%2.wav").arg(folder.path()).arg(++takes);
        QFile file(take);
        return file.open(QFile::WriteOnly) ? Result<void>{} : std::unexpected(Error{file.errorString()});
    }
    std::optional<Take> stop() override {
        return take.isEmpty() || lost ? std::nullopt : std::optional(Take{std::exchange(take, {}), duration});
    }
    std::optional<float> averagePower() override { return power; }

    void show(std::function<float()> provider, std::function<void()> onCancel,
              std::function<void()> onConfirm) override {
        journal << "panel";
        level = std::move(provider);
        cancel = std::move(onCancel);
        confirm = std::move(onConfirm);
    }
    void setProcessing() override { journal << "panel waits"; }
    void hide() override { journal << "no panel"; }

    void prepare() override { ++prepared; }
    void translate(const QString& file, Completion<QString> completion) override {
        journal << (QFile::exists(file) ? "translate" : "translate nothing");
        translated = std::move(completion);
        if (refusal)
            answer(std::unexpected(*refusal));
    }
    void answer(Result<QString> result) {
        if (auto completion = std::exchange(translated, nullptr))
            completion(std::move(result));
    }

    void paste(const QString& text, Completion<void> completion) override {
        journal << QString("paste [%1]").arg(text);
        pasted = std::move(completion);
    }

    bool isSignedIn() const override { return signedIn; }
    void whenSessionLoaded(std::function<void()> callback) override { accountKnown = std::move(callback); }
    void withValidAccessToken(Completion<QString>) override {}

    QString take;
    int takes = 0;
    bool broken = false;
    bool lost = false;
    double duration = 2;
    std::optional<float> power;
    std::function<float()> level;
    std::function<void()> cancel = [] {
    };
    std::function<void()> confirm = cancel;
    int prepared = 0;
    Completion<QString> translated;
    std::optional<Error> refusal;
    Completion<void> pasted;
    bool signedIn = false;
    std::function<void()> accountKnown;

    QTemporaryDir folder;
    fake::Journal journal;
    MainQueue queue;
    fake::Preferences preferences;
    Settings settings{preferences};
    HistoryStore history{folder.filePath("data")};
    fake::AlertsLog alerts{journal};
    fake::AppearanceLog appearance;
    fake::HotKeys hotKeys{journal};
    fake::SilentMicrophone microphone;
    fake::Keys pasteKeys;
    fake::Sounds sounds{journal};
    fake::Status status{journal};
    HotKeyRegistrar hotKey{hotKeys, queue, settings};

    HistoryStore& openHistory() { return history; }
    void openWindow(const QByteArray& token) { journal << "window" + token; }
    void quit() { journal << "quit"; }

    AppDelegate::Dependencies dependencies{
        .queue = queue,
        .preferences = preferences,
        .settings = settings,
        .account = *this,
        .hotKey = hotKey,
        .recorder = *this,
        .hud = *this,
        .translator = *this,
        .paster = *this,
        .history = std::bind_front(&Desk::openHistory, this),
        .alerts = alerts,
        .appearance = appearance,
        .microphone = microphone,
        .pasteKeys = pasteKeys,
        .sounds = sounds,
        .statusItem = status,
        .openMainWindow = std::bind_front(&Desk::openWindow, this),
        .checkForUpdates = {},
        .quit = std::bind_front(&Desk::quit, this),
    };
    std::unique_ptr<AppDelegate> app = std::make_unique<AppDelegate>(dependencies);

    /// What a test's script may say.
    QMap<QString, std::function<void()>> events;

    Desk() {
        const auto on = [this](const char* event, std::function<void()> action) {
            events[event] = std::move(action);
        };
        on("press", [this] { app->startRecording(); });
        on("release", [this] { app->stopAndTranslate(); });
        on("cancel", [this] { app->cancelRecording(); });
        on("confirm", [this] { confirm(); });
        on("cross", [this] { cancel(); });
        on("text", [this] { answer("Hello"); });
        on("spaces", [this] { answer("  "); });
        on("empty", [this] { answer(QString()); });
        on("fail", [this] { answer(std::unexpected(Error{"<b>boom</b>"})); });
        on("refuse", [this] { refusal = Error{"sign in first"}; });
        on("broken", [this] { broken = true; });
        on("lost", [this] { lost = true; });
        on("found", [this] { lost = false; });
        on("quiet", [this] { preferences.values["sounds_enabled"] = false; });
        on("tap", [this] { duration = 0.4; });
        on("gone", [this] { app.reset(); });
    }

    void play(const QString& script) {
        for (const auto& event : script.split(u' '))
            events.value(event)();
    }

    QStringList audioFiles() const { return QDir(folder.path()).entryList({"*.wav"}); }
};

} // namespace

class AppDelegateTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cycle_data() {
        QTest::addColumn<QString>("events");
        QTest::addColumn<QString>("journal");
        QTest::addColumn<int>("records");
        QTest::addColumn<int>("files");

        const QString recording = "icon mic.fill, panel, Pop";
        const QString processing = recording + ", icon hourglass, panel waits, translate";
        const QString idle = ", icon mic, no panel";
        const QString pasted = processing + idle + ", paste [Hello], Glass";
        const auto row = [](const char* name, const char* events, const QString& journal, int records,
                            int files) {
            QTest::newRow(name) << QString(events) << journal << records << files;
        };

        row("idle: release", "release", "", 0, 0);
        row("idle: cancel", "cancel", "", 0, 0);
        row("idle: failed start, then release", "broken press release",
            "Basso, alert Tavrik: Could not start recording: no microphone", 0, 0);
        row("idle: failed start without sounds", "quiet broken press",
            "alert Tavrik: Could not start recording: no microphone", 0, 0);

        row("recording: press", "press press", recording, 0, 1);
        row("recording: confirm, then the real release", "press confirm release", processing, 0, 1);
        row("recording: cross, then the real release", "press cross release", recording + idle, 0, 0);
        row("recording: tap of exactly 0.4 s", "tap press release", recording + idle, 0, 0);
        row("recording: stop yields nothing, release again", "press lost release found release", processing,
            0, 1);
        row("recording: cancel yields nothing", "press lost cancel", recording + idle, 0, 1);
        row("recording: owner gone", "press gone", recording + idle, 0, 0);

        row("processing: press, release, both buttons", "press release press release confirm cross cancel",
            processing, 0, 1);
        row("processing: text without sounds", "quiet press release text",
            QString(processing + idle + ", paste [Hello]").remove(", Pop"), 1, 0);
        row("processing: spaces are text", "press release spaces", processing + idle + ", paste [  ], Glass",
            1, 0);
        row("processing: empty", "press release empty",
            processing + idle +
                ", Basso, alert Tavrik: The model returned empty text — try speaking a bit longer.",
            0, 0);
        row("processing: failure", "press release fail",
            processing + idle + ", Basso, alert Tavrik: <b>boom</b>", 0, 0);
        row("processing: refused at once", "refuse press release",
            processing + idle + ", Basso, alert Tavrik: sign in first", 0, 0);
        row("processing: owner gone, late text", "press release gone text", processing, 0, 0);
        row("twice", "press release text press release text", pasted + ", " + pasted, 2, 0);
    }

    void cycle() {
        QFETCH(QString, events);
        QFETCH(QString, journal);
        Desk desk;
        desk.play(events);
        QCOMPARE(desk.journal.join(", "), journal);
        QTEST(int(desk.history.items().size()), "records");
        QTEST(int(desk.audioFiles().size()), "files");
    }

    void level() {
        Desk desk;
        desk.play("press");
        QCOMPARE(desk.level(), 0.0F);
        for (const auto& [power, level] :
             {std::pair(3.0F, 1.0F), {-25.0F, 0.5F}, {-INFINITY, 0.0F}, {NAN, 0.0F}}) {
            desk.power = power;
            QCOMPARE(desk.level(), level);
        }
        desk.play("gone");
        QCOMPARE(desk.level(), 0.0F);
    }

    void launch() {
        Desk desk;
        desk.preferences.values["appearance"] = "dark";
        desk.app->applicationDidFinishLaunching();
        QCOMPARE(desk.journal, (QStringList{"icon mic", "register 49 2048"}));
        QCOMPARE(desk.status.description, "Tavrik idle");
        QVERIFY(desk.status.note.isEmpty());
        QCOMPARE(desk.appearance.applied, AppearanceChoice::dark);
        QVERIFY(desk.microphone.asked && desk.pasteKeys.asked == PasteKeys::PermissionRequest::once);

        QStringList menu;
        for (const auto& item : desk.status.items)
            menu << item.title + (item.action ? u'+' : u'-') + item.keyEquivalent;
        QCOMPARE(menu, (QStringList{"Hold ⌥ Space and speak Persian-", "-", "Open Tavrik+o",
                                    "Check for Updates…-", "-", "Quit Tavrik+q"}));
        desk.status.items.last().action();
        QCOMPARE(desk.journal.last(), "quit");
    }

    void storesWhatWasPasted() {
        Desk desk;
        desk.duration = 3.25;
        const auto before = QDateTime::currentDateTimeUtc();
        desk.play("press release text press release spaces");
        QCOMPARE(desk.history.items().size(), 2);
        const auto& newest = desk.history.items().first();
        QCOMPARE(newest.text, QByteArray("  "));
        QCOMPARE(newest.duration, 3.25);
        QVERIFY(newest.date >= before && newest.date <= QDateTime::currentDateTimeUtc());
        QVERIFY(newest.id != desk.history.items().last().id);
        QCOMPARE(desk.prepared, 2);
    }

    void followsThePreferences() {
        Desk desk;
        desk.app->applicationDidFinishLaunching();
        desk.journal.clear();

        desk.preferences.values["appearance"] = "light";
        desk.preferences.changed();
        QCOMPARE(desk.appearance.applied, AppearanceChoice::light);
        QVERIFY(desk.journal.isEmpty());

        desk.preferences.values["hotkey_keycode"] = qlonglong{97};
        desk.preferences.values["hotkey_display"] = "⌥ F6";
        desk.preferences.changed();
        QCOMPARE(desk.journal, (QStringList{"unregister", "register 97 2048"}));
        QCOMPARE(desk.status.items.first().title, "Hold ⌥ F6 and speak Persian");

        // The new key works, through the queue.
        desk.journal.clear();
        desk.hotKeys.handlers.pressed();
        desk.hotKeys.handlers.released();
        QVERIFY(desk.journal.isEmpty());
        QTRY_VERIFY(desk.journal.contains("translate"));
    }

    void hotKeyIsReleasedForRecording() {
        Desk desk;
        desk.app->applicationDidFinishLaunching();
        desk.journal.clear();
        desk.hotKey.releaseHotKey();
        QCOMPARE(desk.journal, QStringList("unregister"));

        // Neither an edit from outside nor a second start takes it back too early.
        desk.preferences.values["hotkey_keycode"] = qlonglong{97};
        desk.preferences.changed();
        desk.app->applicationShouldHandleReopen(" 7");
        QCOMPARE(desk.journal, (QStringList{"unregister", "window 7"}));
        desk.hotKey.hotKeyChanged();
        QCOMPARE(desk.journal.last(), "register 97 2048");

        // A recording ends before its key is let go of.
        desk.play("press");
        desk.journal.clear();
        desk.hotKey.releaseHotKey();
        desk.preferences.values["hotkey_modifiers"] = qlonglong{4096};
        desk.preferences.changed();
        QVERIFY(desk.journal.isEmpty());
        desk.play("cancel");
        QCOMPARE(desk.journal.last(), "register 97 4096");
    }

    void firstRun() {
        for (const auto& [signedIn, key, opens] :
             {std::tuple(false, "", true), {false, "sk", false}, {true, "", false}}) {
            Desk desk;
            desk.preferences.values["openrouter_api_key"] = key;
            desk.app->applicationDidFinishLaunching();
            desk.signedIn = signedIn;
            desk.accountKnown();
            // Due when the window would be.
            bool due = false;
            desk.queue.postAfter(std::chrono::milliseconds(300), [&due] { due = true; });
            QVERIFY(!desk.journal.contains("window"));
            QTRY_VERIFY(due);
            QCOMPARE(desk.journal.contains("window"), opens);
        }
    }

    void aHotKeyThatIsNotOursIsTold() {
        Desk desk;
        desk.hotKeys.answer = {"fake", false, "Another program holds it."};
        desk.app->applicationDidFinishLaunching();
        const auto note = "⌥ Space: Another program holds it.";
        QCOMPARE(desk.status.note, note);
        desk.preferences.changed();
        QCOMPARE(desk.status.note, note);

        // Tried again when the user comes for help, and only while it does not work.
        desk.hotKeys.answer = {"fake", true};
        desk.app->applicationShouldHandleReopen({});
        desk.app->applicationShouldHandleReopen({});
        QCOMPARE(desk.journal.count("register 49 2048"), 3);
        QVERIFY(desk.status.note.isEmpty());

        desk.hotKeys.held->set({"fake", false, "The keyboard has changed."});
        QCOMPARE(desk.status.note, "⌥ Space: The keyboard has changed.");
        desk.hotKeys.held->set({"fake", true});
        QVERIFY(desk.status.note.isEmpty());
        QVERIFY(!desk.journal.join(u' ').contains("alert"));
    }

    void textThatStaysOnTheClipboardIsTold() {
        Desk desk;
        desk.app->applicationDidFinishLaunching();
        desk.play("press release text");
        desk.pasted(std::unexpected(Error{"No keys."}));
        QCOMPARE(desk.status.note, "Your text stays on the clipboard: No keys.");
        desk.play("press release text");
        desk.pasted({});
        QVERIFY(desk.status.note.isEmpty());
        desk.pasteKeys.set({"fake", false, "Not permitted."});
        QCOMPARE(desk.status.note, "Your text stays on the clipboard: Not permitted.");
        QVERIFY(!desk.journal.join(u' ').contains("alert"));

        desk.play("press release text gone");
        desk.pasted({});
    }
};

QTEST_GUILESS_MAIN(AppDelegateTest)
#include "tst_appdelegate.moc"
