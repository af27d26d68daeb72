#pragma once

#include <QObject>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <optional>

namespace tavrik {

class Alerts;
class HttpClient;
class MainQueue;
struct Release;

/// Tells the user when a newer release is published; installs nothing. Main thread only.
class UpdateChecker : public QObject {
    Q_OBJECT

public:
    /// `manifest` describes the latest release; an empty URL means that this build has no updates to look
    /// for. `openLink` opens the download page.
    UpdateChecker(HttpClient& http, Alerts& alerts, MainQueue& queue, QUrl manifest, QString currentVersion,
                  std::function<void(const QUrl&)> openLink, QObject* parent = nullptr);

    /// Checks shortly after launch and then once a day.
    void startPeriodicChecks();

    /// Starts one check and returns. A check the user did not ask for reports nothing but a newer release.
    void check(bool userInitiated);

private:
    void decide(const std::optional<Release>& release, bool userInitiated);
    void showUpdateAvailable(const Release& release);
    void showUpToDate();
    void showCheckFailed();

    HttpClient& m_http;
    Alerts& m_alerts;
    MainQueue& m_queue;
    QUrl m_manifest;
    QString m_currentVersion;
    std::function<void(const QUrl&)> m_openLink;
    QTimer m_timer;
};

} // namespace tavrik
