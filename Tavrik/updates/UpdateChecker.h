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
    /// `manifest` is the URL of the latest release's manifest; empty in a build without a backend, which
    /// never checks. `openLink` opens the download page.
    UpdateChecker(HttpClient& http, Alerts& alerts, MainQueue& queue, QUrl manifest, QString currentVersion,
                  std::function<void(const QUrl&)> openLink, QObject* parent = nullptr);

    /// Checks 5 seconds from now and then once a day.
    void startPeriodicChecks();

    /// Starts one check. A check not initiated by the user reports nothing but a newer release.
    void check(bool userInitiated);

private:
    void report(const std::optional<Release>& release, bool userInitiated);
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
