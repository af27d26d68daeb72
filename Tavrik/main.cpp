// The process entry: picks the platform, builds the parts, runs the loop.

#include "account/AuthStore.h"
#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "base/AppVersion.h"
#include "base/MainQueue.h"
#include "capture/Paster.h"
#include "capture/Recorder.h"
#include "history/HistoryStore.h"
#include "platform/Alerts.h"
#include "platform/Appearance.h"
#include "platform/ApplicationInstance.h"
#include "platform/Clipboard.h"
#include "platform/DayWatcher.h"
#include "platform/FolderRevealer.h"
#include "platform/HotKeyBackend.h"
#include "platform/KeyReader.h"
#include "platform/LinkOpener.h"
#include "platform/LoginItem.h"
#include "platform/Microphone.h"
#include "platform/PanelHost.h"
#include "platform/PasteKeys.h"
#include "platform/Platform.h"
#include "platform/PreferenceStore.h"
#include "platform/SecureSlot.h"
#include "platform/SoundPlayer.h"
#include "platform/StatusItem.h"
#include "platform/WindowActivator.h"
#include "preferences/Settings.h"
#include "services/HttpClient.h"
#include "services/OpenRouter.h"
#include "translation/Translator.h"
#include "ui/shell/LazyViews.h"
#include "updates/UpdateChecker.h"

#include <QApplication>

using namespace tavrik;

namespace {

/// Where releases are announced; empty in a build without a backend.
QUrl releaseManifest() {
    const auto backend = Supabase::builtIn();
    return backend.exists()
               ? backend.endpoint(QStringLiteral("storage/v1/object/public/releases/version.json"))
               : QUrl();
}

/// The parts of the running program, in the order in which they are built; taken down in the reverse one.
struct Program {
    MainQueue queue;
    Platform platform{queue};
    std::unique_ptr<PreferenceStore> preferences = makePreferenceStore();
    Settings settings{*preferences};
    HttpClient http{queue};
    AuthStore account{*platform.secureSlot, http, queue, Supabase::builtIn()};
    Recorder recorder{*platform.microphone, platformFolders().temporary};
    Translator translator{account, settings, http, queue, Supabase::builtIn(), openRouterEndpoint()};
    Paster paster{*platform.clipboard, *platform.pasteKeys};
    UpdateChecker updates{
        http, *platform.alerts, queue, releaseManifest(), appVersion(), [this](const QUrl& url) {
            platform.links->open(url);
        }};
    std::optional<HistoryStore> history;
    AppDelegate delegate{{
        .queue = queue,
        .preferences = *preferences,
        .settings = settings,
        .account = account,
        .recorder = recorder,
        .hud = views,
        .translator = translator,
        .paster = paster,
        .history = [this]() -> HistoryStore& { return openHistory(); },
        .alerts = *platform.alerts,
        .appearance = *platform.appearance,
        .hotKeys = *platform.hotKeys,
        .microphone = *platform.microphone,
        .pasteKeys = *platform.pasteKeys,
        .sounds = *platform.sounds,
        .statusItem = *platform.statusItem,
        .openMainWindow = [this] { views.showMainWindow(); },
        .checkForUpdates = Supabase::builtIn().exists() ? [this] { updates.check(true); } : std::function<void()>{},
        .quit = &QCoreApplication::quit,
    }};
    LazyViews views{{
        .queue = queue,
        .panels = *platform.panels,
        .window = {.queue = queue,
                   .account = account,
                   .history = [this]() -> HistoryStore& { return openHistory(); },
                   .clipboard = *platform.clipboard,
                   .days = *platform.days,
                   .links = *platform.links,
                   .activator = *platform.windowActivator,
                   .settings =
                       {
                           .shortcut = {*preferences, settings, *platform.keyReader, delegate},
                           .appearance = *platform.appearance,
                           .loginItem = *platform.loginItem,
                           .folders = *platform.folders,
                           .texts = platformTexts(),
                           .dataFolder = platformFolders().applicationSupport,
                       },
                   .fullUserName = fullUserName()},
    }};

    ~Program() {
        // While the panel is still there to be taken off the screen.
        delegate.cancelRecording();
    }

    HistoryStore& openHistory() {
        return history ? *history : history.emplace(platformFolders().applicationSupport);
    }

    void open(const QByteArrayList& urls) {
        for (const auto& url : urls)
            account.handleCallback(url);
        delegate.applicationShouldHandleReopen();
    }
};

int run(int& argc, char** argv, const QByteArrayList& urls) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName(QStringLiteral("io.nordvex.tavrik"));

    const auto instance = makeApplicationInstance();
    std::optional<Program> program;
    const bool first = instance->claim({
        .reopened = [&program] { program->delegate.applicationShouldHandleReopen(); },
        .urlsOpened = [&program](const QByteArrayList& opened) { program->open(opened); },
    });
    if (!first)
        return instance->forward(urls) ? exitDone : exitNot;

    program.emplace();
    program->delegate.applicationDidFinishLaunching();
    program->updates.startPeriodicChecks();
    if (!urls.isEmpty())
        program->open(urls);
    return QApplication::exec();
}

std::variant<ExitStatus, StartProgram> obey(const QByteArrayList& arguments) {
    QTextStream in(stdin);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return runCommandLine(arguments, &makePreferenceStore, {in, out, err});
}

} // namespace

int main(int argc, char* argv[]) {
    const auto command = obey(QByteArrayList(argv + 1, argv + argc));
    if (const auto* status = std::get_if<ExitStatus>(&command))
        return *status;

    // The running program says nothing; what concerns the user is shown to them.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return run(argc, argv, std::get<StartProgram>(command).urls);
}
