#pragma once

#include "base/Result.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

class QThread;

namespace tavrik {

class MainQueue;

using HttpHeaders = QList<std::pair<QByteArray, QByteArray>>;

/// Whether a header can carry the value: a line break would start another header.
bool isHeaderValue(const QByteArray& value);

struct HttpRequest {
    QByteArray method;
    QUrl url;
    HttpHeaders headers = {};
    std::optional<QByteArray> body = {};
    /// The longest wait: for progress of the upload, then for the whole reply.
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
    /// Whether redirects are followed, though never from https to http. Not for requests that carry a key or
    /// a token.
    bool followsRedirects = false;
};

/// A complete response of any status.
struct HttpResponse {
    int status = 0;
    QByteArray body;
    /// The body exceeded HttpClient::maximumBody and was dropped: handle it like one that cannot be parsed.
    bool oversized = false;
};

/// All of the program's HTTP requests. HTTP/2 or 1.1; connections are kept and reused; the system's proxy
/// settings are honoured; no cookies, no cache. Nothing but a GET is ever sent twice. A connection
/// that was idle for long is not used again, because one that did not outlive a sleep or a change of network
/// looks the same. Main thread only; the work is done on a thread of its own, as finding the proxy may take
/// long.
class HttpClient : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 maximumBody = qint64{16} * 1024 * 1024;

    /// No request goes over a connection that was idle for longer than `maximumIdle`, unless others are in
    /// use; one opened in advance is younger than a third of it.
    explicit HttpClient(MainQueue& queue, std::chrono::milliseconds maximumIdle = std::chrono::minutes(1));
    ~HttpClient() override;

    /// Sends the request. The completion is posted to the main queue, exactly once: with the response,
    /// whatever its status, or with an error when there is none (no connection, a reset, a truncated body, a
    /// time-out). If the client is destroyed first, the request is aborted and its completion dropped.
    void send(HttpRequest request, Completion<HttpResponse> completion);

    /// Connects to the URL's host in advance, TLS handshake included, for the next request. Failures are
    /// ignored. To be repeated every 30 seconds until that request is sent.
    void openConnection(const QUrl& url);

private:
    class Network;

    void post(std::function<void()> job);

    MainQueue& m_queue;
    /// Started by the first request. Leaked if a name lookup keeps it from ending.
    std::unique_ptr<QThread> m_thread;
    Network* m_network;
};

} // namespace tavrik
