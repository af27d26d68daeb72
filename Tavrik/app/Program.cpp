#include "app/Program.h"

#include "account/AuthStore.h"
#include "app/AppDelegate.h"
#include "app/HotKeyRegistrar.h"
#include "app/LazyViews.h"
#include "base/AppVersion.h"
#include "base/MainQueue.h"
#include "capture/CommandHotKey.h"
#include "capture/Paster.h"
#include "capture/Recorder.h"
#include "capture/TakeFiles.h"
#include "history/HistoryStore.h"
#include "platform/Alerts.h"
#include "platform/Appearance.h"
#include "platform/Clipboard.h"
#include "platform/CorePlatform.h"
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
#include "services/Endpoints.h"
#include "services/HttpClient.h"
#include "translation/Translator.h"
#include "updates/UpdateChecker.h"

#include <QCoreApplication>
#include <QThreadPool>

#include <chrono>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

/// The history's line in `tavrik status`.
class HistoryService final : public Service {
public:
    explicit HistoryService(const std::optional<HistoryStore>& history) : m_history(history) {}

    ServiceStatus status() const override {
        const auto error = m_history ? m_history->saveError() : std::nullopt;
        return {u"history.json"_s, !error,
                error ? u"The latest changes could not be saved (%1)."_s.arg(error->description) : QString()};
    }

private:
    const std::optional<HistoryStore>& m_history;
};

} // namespace

/// In the order in which they are built; taken down in the reverse one. Nothing refers to what comes after
/// it.
struct Program::Objects {
    MainQueue queue;
    Platform platform{queue};
    const PlatformTexts texts = platformTexts();
    std::unique_ptr<PreferenceStore> preferences = makePreferenceStore();
    Settings settings{*preferences};
    HttpClient http{queue};
    AuthStore account{*platform.secureSlot, http, queue, Supabase::builtIn()};
    Recorder recorder{*platform.microphone, platformFolders().temporary};
    Translator translator{account, settings, http, queue, Supabase::builtIn(), openRouterEndpoint()};
    Paster paster{*platform.clipboard, *platform.pasteKeys, queue};
    UpdateChecker updates{http,
                          *platform.alerts,
                          queue,
                          Supabase::builtIn().releaseManifestUrl(),
                          appVersion(),
                          [this](const QUrl& url) {
                              platform.links->open(url);
                          }};
    std::optional<HistoryStore> openedHistory;
    HistoryService historyService{openedHistory};
    HotKeyRegistrar hotKey{*platform.hotKeys, queue, settings};
    LazyViews views{{
        .queue = queue,
        .panels = *platform.panels,
        .window = {.queue = queue,
                   .account = account,
                   .history = [this]() -> HistoryStore& { return history(); },
                   .clipboard = *platform.clipboard,
                   .days = *platform.days,
                   .links = *platform.links,
                   .activator = *platform.windowActivator,
                   .settings =
                       {
                           .shortcut = {*preferences, settings, *platform.keyReader, hotKey},
                           .pasteKeys = *platform.pasteKeys,
                           .clipboard = *platform.clipboard,
                           .appearance = *platform.appearance,
                           .loginItem = *platform.loginItem,
                           .folders = *platform.folders,
                           .texts = texts,
                           .dataFolder = platformFolders().applicationSupport,
                       },
                   .fullUserName = &fullUserName},
    }};
    AppDelegate delegate{{
        .queue = queue,
        .preferences = *preferences,
        .settings = settings,
        .account = account,
        .hotKey = hotKey,
        .recorder = recorder,
        .hud = views,
        .views = views,
        .translator = translator,
        .paster = paster,
        .history = [this]() -> HistoryStore& { return history(); },
        .alerts = *platform.alerts,
        .appearance = *platform.appearance,
        .microphone = *platform.microphone,
        .pasteKeys = *platform.pasteKeys,
        .sounds = *platform.sounds,
        .statusItem = *platform.statusItem,
        .texts = texts,
        .openMainWindow =
            [this](const QByteArray& activationToken) {
                if (!views.showMainWindow(activationToken))
                    platform.alerts->show({.messageText = u"Tavrik"_s, .informativeText = views.status().reason});
            },
        .busyChanged = [this](bool busy) { updates.setBusy(busy); },
        .checkForUpdates = Supabase::builtIn().exists() ? [this] { updates.check(true); } : std::function<void()>{},
        .quit = &QCoreApplication::quit,
    }};
    CommandHotKey commands{
        queue,
        {.isRecording = [this] { return delegate.isRecording(); },
         .pressed = [this](bool endsOnSecondPress) { delegate.startRecording(endsOnSecondPress); },
         .released =
             [this] {
                 delegate.stopAndTranslate();
             }}};

    HistoryStore& history() {
        return openedHistory ? *openedHistory : openedHistory.emplace(platformFolders().applicationSupport);
    }
};

Program::Program() : m_objects(std::make_unique<Objects>()) {}

Program::~Program() = default;

void Program::start() {
    // A thread that waits for more work would wake up once more, 30 s later.
    QThreadPool::globalInstance()->setExpiryTimeout(0);
    QThreadPool::globalInstance()->start(
        [folder = platformFolders().temporary] { removeLeftoverTakes(folder); });
    m_objects->delegate.applicationDidFinishLaunching();
    m_objects->updates.startPeriodicChecks();
}

void Program::launchedFromMenu(const QByteArray& activationToken) {
    // A tray answers a little later.
    m_objects->queue.postAfter(500ms, [this, activationToken] {
        if (!m_objects->platform.statusItem->status().works)
            reopen(activationToken);
    });
}

void Program::reopen(const QByteArray& activationToken) {
    m_objects->delegate.applicationShouldHandleReopen(activationToken);
}

void Program::open(const QByteArrayList& urls, const QByteArray& activationToken) {
    for (const auto& url : urls)
        m_objects->account.handleCallback(url);
    reopen(activationToken);
}

void Program::receive(HotKeyCommand command) {
    m_objects->commands.receive(command);
}

void Program::leave() {
    m_objects->delegate.leave();
    m_objects->recorder.removeLatest();
    if (auto& history = m_objects->openedHistory)
        history->waitUntilSaved();
}

void Program::abandon() {
    m_objects->recorder.removeLatest();
    m_objects->openedHistory.reset();
}

QList<NamedService> Program::services() const {
    auto services = m_objects->platform.services();
    // What the user has is the combination, not only the means to grab one.
    services.front().service = &m_objects->hotKey;
    for (auto& [name, service] : services)
        if (name == u"panel" && !m_objects->views.status().works)
            service = &m_objects->views;
    services.append({u"history"_s, &m_objects->historyService});
    return services;
}

} // namespace tavrik
