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
struct Alert;
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

    /// While a dictation runs, and for a second after it, no alert is shown; the newest waits.
    void setBusy(bool busy);

private:
    void report(const std::optional<Release>& release, bool userInitiated);
    void announce(Alert alert, std::function<void(int)> answered = {});
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
    bool m_isBusy = false;
    /// Runs from the end of a dictation: its text has yet to reach the window that has the keyboard.
    QTimer m_afterDictation;
    std::function<void()> m_waiting;
};

} // namespace tavrik
