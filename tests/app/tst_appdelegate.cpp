#include "account/Account.h"
#include "app/AppDelegate.h"
#include "app/HotKeyRegistrar.h"
#include "base/MainQueue.h"
#include "capture/AbstractPaster.h"
#include "capture/AbstractRecordingHUD.h"
#include "history/HistoryStore.h"
#include "platform/Alerts.h"
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
struct Desk : AbstractRecorder, AbstractRecordingHUD, AbstractTranslator, AbstractPaster, Account, Alerts {
    Result<void> start() override {
        journal << "start";
        if (broken)
            return std::unexpected(Error{"no microphone"});
        take = folder.filePath("take.wav");
        QFile file(take);
        return file.open(QFile::WriteOnly) ? Result<void>{} : std::unexpected(Error{file.errorString()});
    }
    std::optional<Take> stop() override {
        if (std::exchange(lost, false))
            return {};
        recorded.file = std::exchange(take, {});
        return recorded;
    }
    std::optional<float> averagePower() override { return power; }

    void setHint(const QString& hint) override {
        if (!hint.isEmpty())
            journal << hint;
    }
    void show(std::function<float()> provider, std::function<void()> onCancel,
              std::function<void()> onConfirm) override {
        journal << "panel";
        level = std::move(provider);
        events["cross"] = std::move(onCancel);
        events["confirm"] = std::move(onConfirm);
    }
    void setProcessing() override { journal << "panel waits"; }
    void hide() override { journal << "no panel"; }
    void showNote(const QString& note) override { journal << "panel says " + note; }

    void prepare() override { journal << "prepare"; }
    void translate(const QString& file, Completion<QString> completion) override {
        journal << (QFile::exists(file) ? "translate" : "translate nothing");
        translated = std::move(completion);
        if (refuses)
            translated(std::unexpected(Error{"sign in first"}));
    }

    void paste(const QString& text, Completion<void> completion) override {
        journal << QString("paste [%1]").arg(text);
        pasted = std::move(completion);
    }

    bool isSignedIn() const override { return true; }
    void withValidAccessToken(Completion<QString>) override {}

    void show(const Alert& alert, std::function<void(int)>) override {
        journal << QString("alert %1: %2").arg(alert.messageText, alert.informativeText);
    }

    QString take;
    bool broken = false;
    bool lost = false;
    Take recorded{.file = {}, .duration = 2};
    std::optional<float> power;
    std::function<float()> level;
    Completion<QString> translated;
    bool refuses = false;
    Completion<void> pasted;

    QTemporaryDir folder;
    fake::Journal journal;
    MainQueue queue;
    fake::Preferences preferences;
    Settings settings{preferences};
    HistoryStore history{folder.filePath("data")};
    fake::AppearanceLog appearance;
    fake::HotKeys hotKeys{journal};
    fake::SilentMicrophone microphone;
    fake::Keys pasteKeys;
    fake::Sounds sounds{journal};
    fake::Status status{journal};
    fake::Set<Service> views;
    HotKeyRegistrar hotKey{hotKeys, queue, settings};

    HistoryStore& openHistory() { return history; }
    void openWindow(const QByteArray& token) { journal << "window" + token; }

    std::unique_ptr<AppDelegate> app = std::make_unique<AppDelegate>(AppDelegate::Dependencies{
        .queue = queue,
        .preferences = preferences,
        .settings = settings,
        .account = *this,
        .hotKey = hotKey,
        .recorder = *this,
        .hud = *this,
        .views = views,
        .translator = *this,
        .paster = *this,
        .history = std::bind_front(&Desk::openHistory, this),
        .alerts = *this,
        .appearance = appearance,
        .microphone = microphone,
        .pasteKeys = pasteKeys,
        .sounds = sounds,
        .statusItem = status,
        .texts = {},
        .openMainWindow = std::bind_front(&Desk::openWindow, this),
        .busyChanged = [](bool) {},
        .checkForUpdates = {},
        .quit = [] {},
    });

    /// What a test's script may say.
    QMap<QString, std::function<void()>> events;

    Desk() {
        events.insert("press", [this] { app->startRecording(); });
        events.insert("release", [this] { app->stopAndTranslate(); });
        events.insert("cancel", [this] { app->cancelRecording(); });
        events.insert("text", [this] { translated("Hello"); });
        events.insert("spaces", [this] { translated("  "); });
        events.insert("empty", [this] { translated(QString()); });
        events.insert("fail", [this] { translated(std::unexpected(Error{"<b>boom</b>"})); });
        events.insert("refuse", [this] { refuses = true; });
        events.insert("broken", [this] { broken = true; });
        events.insert("lost", [this] { lost = true; });
        events.insert("quiet", [this] { preferences.values["sounds_enabled"] = false; });
        events.insert("tap", [this] { recorded.duration = 0.4; });
        events.insert("hold", [this] { recorded.elapsed = 1; });
        events.insert("muted", [this] { recorded.isSilent = true; });
        events.insert("cut", [this] { recorded.interruption = "Full."; });
        events.insert("whole", [this] { recorded.interruption.clear(); });
        events.insert("gone", [this] { app.reset(); });
        events.insert("pasted", [this] { pasted({}); });
        events.insert("kept", [this] { pasted(std::unexpected(Error{"No keys."})); });
        events.insert("forbid", [this] { pasteKeys.set({"fake", false, "No keys."}); });

        events.insert("launch", [this] { app->applicationDidFinishLaunching(); });
        events.insert("reopen", [this] { app->applicationShouldHandleReopen(" 7"); });
        events.insert("other", [this] { preferences.values["hotkey_keycode"] = qlonglong{97}; });
        events.insert("edited", [this] { preferences.changed(); });
        events.insert("record", [this] { hotKey.releaseHotKey(); });
        events.insert("recorded", [this] { hotKey.hotKeyChanged(PermissionRequest::byUser); });
        events.insert("taken", [this] { hotKeys.set({"fake", false, "Taken."}); });
        events.insert("free", [this] { hotKeys.set({"fake", true}); });
        events.insert("updated", [this] { views.set({"fake", false, "Updated."}); });
        events.insert("unplug", [this] { hotKeys.held->set({"fake", false, "Taken."}); });
        events.insert("plug", [this] { hotKeys.held->set({"fake", true}); });
        events.insert("let-go", [this] {
            hotKeys.handlers.released();
            QCoreApplication::processEvents();
        });
    }

    void play(const QString& script) {
        for (const auto& event : script.split(u' '))
            events.value(event)();
    }
};

} // namespace

class AppDelegateTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void events_data() {
        QTest::addColumn<QString>("journal");
        QTest::addColumn<int>("records");
        QTest::addColumn<int>("files");

        const QString recording = "start, mic.fill Tavrik recording, panel, Pop, prepare";
        const QString processing = recording + ", hourglass Tavrik processing, panel waits, translate";
        const QString idle = ", mic Tavrik idle, no panel";
        const QString text = processing + idle + ", paste [Hello], Glass";
        const QString failed = processing + idle + ", Basso, alert Tavrik: ";
        const auto row = [](const char* events, const QString& journal, int records = 0, int files = 0) {
            QTest::newRow(events) << journal << records << files;
        };

        row("release cancel", "");
        row("quiet broken press release", "start, alert Tavrik: Could not start recording: no microphone");

        row("press press", recording, 0, 1);
        row("press confirm release", processing, 0, 1);
        row("press cross release", recording + idle);
        row("tap press release", recording + idle);
        row("press lost release release", processing, 0, 1);
        row("press lost cancel", recording + idle, 0, 1);
        row("press gone", recording + idle);

        row("press release press release confirm cross cancel", processing, 0, 1);
        row("quiet press release text", QString(processing + idle + ", paste [Hello]").remove(", Pop"), 1);
        row("press release spaces", processing + idle + ", paste [  ], Glass", 1);
        row("press release empty", failed + "The model returned empty text — try speaking a bit longer.");
        row("press release fail", failed + "<b>boom</b>");
        row("refuse press release", failed + "sign in first");
        row("press release gone text", processing);
        row("press release text gone pasted", text, 1);

        const QString launched = "mic Tavrik idle, register 49 2048";
        const QString other = ", unregister, register 97 2048";
        const QString again = ", unregister, register 49 2048";
        const QString taken = ", note [⌥ Space: Taken.]";
        row("launch edited other edited", launched + other);
        // While the settings record a key, neither an edit from outside nor a second start takes it back.
        row("launch record other edited reopen recorded",
            launched + ", unregister, window 7, register 97 2048");
        // A recording ends before its key is let go of.
        row("launch press record other edited cancel", launched + ", " + recording + idle + other);
        // Tried again when the user comes for help, and only while it does not work.
        row("taken launch edited free reopen reopen",
            launched + taken + again + again + ", note [], window 7, window 7");
        row("launch unplug plug", launched + taken + ", note []");
        const QString kept = ", note [Your text stays on the clipboard: No keys.]";
        row("launch forbid", launched + kept);
        row("launch updated", launched + ", note [Updated.]");
        row("launch press release text kept press release text pasted",
            launched + ", " + text + kept + ", " + text + ", note []", 2);

        row("tap hold press release",
            recording + idle + ", note [Your microphone brought no sound. Try again.]");
        row("muted press release",
            recording + idle + ", note [Your microphone brought only silence. It may be muted.]");
        const QString early = "Your last recording ended early: ";
        const QString cut = ", note [" + early + "Full.]";
        const QString panel = ", panel says The recording ended early";
        row("cut tap hold press release", recording + idle + cut);
        row("cut press release fail", QString(failed).replace(", Basso", cut + ", Basso") + "<b>boom</b>");
        row("cut press release text press pasted", text + ", " + recording + cut, 1, 1);
        row("cut press release text pasted whole press release text pasted",
            text + cut + panel + ", " + text + ", note []", 2);
        const auto lost = ", note [⌥ Space: Taken.\n" + early + "The hot key was lost.]" + panel;
        row("launch press unplug let-go text pasted",
            launched + ", " + recording + taken + QString(text).remove(recording) + lost, 1);
    }

    void events() {
        Desk desk;
        desk.play(QTest::currentDataTag());
        QFETCH(QString, journal);
        QCOMPARE(desk.journal.join(", "), journal);
        QTEST(int(desk.history.items().size()), "records");
        QTEST(int(QFile::exists(desk.folder.filePath("take.wav"))), "files");
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

    void launchAndPreferences() {
        Desk desk;
        desk.preferences.values["appearance"] = "dark";
        desk.play("launch");
        QCOMPARE(desk.appearance.applied, AppearanceChoice::dark);
        QVERIFY(desk.microphone.asked);
        QTRY_VERIFY(desk.pasteKeys.asked == PermissionRequest::once);

        desk.preferences.values["appearance"] = "light";
        desk.preferences.values["hotkey_display"] = "⌥ F6";
        desk.play("edited");
        QCOMPARE(desk.appearance.applied, AppearanceChoice::light);
        QCOMPARE(desk.status.items.first().title, "Hold ⌥ F6 and speak Persian");
    }
};

QTEST_GUILESS_MAIN(AppDelegateTest)
#include "tst_appdelegate.moc"
