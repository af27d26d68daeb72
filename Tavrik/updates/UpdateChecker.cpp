#include "updates/UpdateChecker.h"

#include "base/MainQueue.h"
#include "platform/Alerts.h"
#include "services/HttpClient.h"
#include "updates/Release.h"
#include "updates/ReleaseVersion.h"

#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

using namespace std::chrono_literals;

UpdateChecker::UpdateChecker(HttpClient& http, Alerts& alerts, MainQueue& queue, QUrl manifest,
                             QString currentVersion, std::function<void(const QUrl&)> openLink,
                             QObject* parent)
    : QObject(parent), m_http(http), m_alerts(alerts), m_queue(queue), m_manifest(std::move(manifest)),
      m_currentVersion(std::move(currentVersion)), m_openLink(std::move(openLink)) {
    m_afterDictation.setSingleShot(true);
    m_afterDictation.setInterval(1s);
    connect(&m_afterDictation, &QTimer::timeout, this, [this] {
        if (const auto show = std::exchange(m_waiting, {}))
            m_queue.post(show);
    });
}

void UpdateChecker::startPeriodicChecks() {
    if (m_manifest.isEmpty())
        return;
    m_queue.postAfter(5s, [self = QPointer<UpdateChecker>(this)] {
        if (self)
            self->check(false);
    });
    m_timer.setTimerType(Qt::VeryCoarseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { check(false); });
    m_timer.start(24h);
}

void UpdateChecker::check(bool userInitiated) {
    HttpRequest request{
        .method = "GET", .url = m_manifest, .headers = {{"Cache-Control", "no-cache"}}, .body = {}};
    request.followsRedirects = true;
    request.timeout = 15s;
    m_http.send(std::move(request), [self = QPointer<UpdateChecker>(this),
                                     userInitiated](const Result<HttpResponse>& response) {
        if (!self)
            return;
        const bool complete = response && !response->oversized;
        self->report(complete ? readReleaseManifest(response->body) : std::nullopt, userInitiated);
    });
}

void UpdateChecker::report(const std::optional<Release>& release, bool userInitiated) {
    if (release && isNewer(release->version, m_currentVersion))
        showUpdateAvailable(*release);
    else if (userInitiated)
        release ? showUpToDate() : showCheckFailed();
}

void UpdateChecker::setBusy(bool busy) {
    if (m_isBusy == busy)
        return;
    m_isBusy = busy;
    if (busy)
        m_afterDictation.stop();
    else
        m_afterDictation.start();
}

void UpdateChecker::announce(Alert alert, std::function<void(int)> answered) {
    m_waiting = [self = QPointer<UpdateChecker>(this), alert = std::move(alert),
                 answered = std::move(answered)] {
        if (!self)
            return;
        // Another dictation may have begun before the queue came to this.
        if (self->m_isBusy || self->m_afterDictation.isActive())
            self->announce(alert, answered);
        else
            self->m_alerts.show(alert, answered);
    };
    if (!m_isBusy && !m_afterDictation.isActive())
        std::exchange(m_waiting, {})();
}

void UpdateChecker::showUpdateAvailable(const Release& release) {
    QString text =
        u"You have %1. Download the new version, then replace the app and reopen it."_s.arg(m_currentVersion);
    if (!release.notes.isEmpty())
        text += u"\n\nWhat's new:\n"_s + release.notes;
    announce({.messageText = u"Tavrik %1 is available"_s.arg(release.version),
              .informativeText = text,
              .style = Alert::Style::informational,
              .buttons = {u"Download"_s, u"Later"_s},
              .toolTips = {release.url.host()},
              .ignoresTyping = true},
             [self = QPointer<UpdateChecker>(this), url = release.url](int button) {
                 if (self && button == 0)
                     self->m_openLink(url);
             });
}

void UpdateChecker::showUpToDate() {
    announce({.messageText = u"You're up to date"_s,
              .informativeText = u"Tavrik %1 is the latest version."_s.arg(m_currentVersion),
              .style = Alert::Style::informational,
              .activates = false});
}

void UpdateChecker::showCheckFailed() {
    announce({.messageText = u"Could not check for updates"_s,
              .informativeText = u"Check your internet connection and try again."_s,
              .activates = false});
}

} // namespace tavrik
