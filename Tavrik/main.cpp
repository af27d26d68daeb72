// The process entry: picks the platform, builds the parts, runs the loop.

#include "account/SignedOutAccount.h"
#include "base/HttpClient.h"
#include "base/MainQueue.h"
#include "capture/Paster.h"
#include "capture/Recorder.h"
#include "capture/RecordingHUD.h"
#include "commands/CommandLine.h"
#include "dictation/AppDelegate.h"
#include "platform/Alerts.h"
#include "platform/Appearance.h"
#include "platform/ApplicationInstance.h"
#include "platform/Clipboard.h"
#include "platform/HotKeyBackend.h"
#include "platform/Microphone.h"
#include "platform/PanelHost.h"
#include "platform/PasteKeys.h"
#include "platform/Platform.h"
#include "platform/PreferenceStore.h"
#include "platform/SoundPlayer.h"
#include "platform/StatusItem.h"
#include "storage/HistoryStore.h"
#include "storage/Settings.h"
#include "translation/Endpoints.h"
#include "translation/Translator.h"

#include <QApplication>

using namespace tavrik;

namespace {

/// The parts of the running program, in the order in which they are built; taken down in the reverse one.
struct Program {
    MainQueue queue;
    Platform platform{queue};
    std::unique_ptr<PreferenceStore> preferences = makePreferenceStore();
    Settings settings{*preferences};
    HttpClient http{queue};
    SignedOutAccount account;
    Recorder recorder{*platform.microphone, platformFolders().temporary};
    RecordingHUD hud{*platform.panels, queue};
    Translator translator{account, settings, http, endpoints()};
    Paster paster{*platform.clipboard, *platform.pasteKeys};
    std::optional<HistoryStore> history;
    AppDelegate delegate{{
        .queue = queue,
        .preferences = *preferences,
        .settings = settings,
        .recorder = recorder,
        .hud = hud,
        .translator = translator,
        .paster = paster,
        .history = [this]() -> HistoryStore& {
            return history ? *history : history.emplace(platformFolders().applicationSupport);
        },
        .alerts = *platform.alerts,
        .appearance = *platform.appearance,
        .hotKeys = *platform.hotKeys,
        .microphone = *platform.microphone,
        .pasteKeys = *platform.pasteKeys,
        .sounds = *platform.sounds,
        .statusItem = *platform.statusItem,
        .openMainWindow = {},
        .checkForUpdates = {},
        .quit = &QCoreApplication::quit,
    }};
};

int run(int& argc, char** argv, const QStringList& urls) {
    const auto instance = makeApplicationInstance();
    if (instance->forward(urls))
        return 0;

    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);

    AppDelegate* delegate = nullptr;
    const bool first = instance->claim({
        .reopened = [&delegate] { delegate->applicationShouldHandleReopen(); },
        .urlsOpened = [&delegate](const QStringList&) { delegate->applicationShouldHandleReopen(); },
    });
    if (!first)
        return instance->forward(urls) ? 0 : 1;

    Program program;
    delegate = &program.delegate;
    program.delegate.applicationDidFinishLaunching();
    return QApplication::exec();
}

} // namespace

int main(int argc, char* argv[]) {
    // The installed program says nothing; what concerns the user is shown to them.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return run(argc, argv, {});
}
