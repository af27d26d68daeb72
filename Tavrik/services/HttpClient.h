#pragma once

#include "base/Result.h"

#include <QByteArray>
#include <QList>
#include <QNetworkAccessManager>
#include <QObject>
#include <QUrl>

#include <chrono>
#include <optional>
#include <utility>

namespace tavrik {

class MainQueue;

using HttpHeaders = QList<std::pair<QByteArray, QByteArray>>;

struct HttpRequest {
    QByteArray method;
    QUrl url;
    HttpHeaders headers = {};
    std::optional<QByteArray> body = {};
    /// The longest wait: for progress of the upload, then for the whole reply.
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
};

/// A complete response of any status.
struct HttpResponse {
    int status = 0;
    QByteArray body;
    /// The body exceeded HttpClient::maximumBody and was dropped: handle it like one that cannot be parsed.
    bool oversized = false;
};

/// All of the program's HTTP requests. HTTP/2 or 1.1; connections are kept and reused; the system's proxy
/// settings are honoured; no cookies, no cache. Redirects are not followed, and nothing but a GET is ever
/// sent twice. Main thread only.
class HttpClient : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 maximumBody = qint64{16} * 1024 * 1024;

    explicit HttpClient(MainQueue& queue, QObject* parent = nullptr);

    /// Sends the request. The completion is posted to the main queue, exactly once: with the response,
    /// whatever its status, or with an error when there is none (no connection, a reset, a truncated body, a
    /// time-out). If the client is destroyed first, the request is aborted and its completion dropped.
    void send(HttpRequest request, Completion<HttpResponse> completion);

    /// Connects to the URL's host in advance, TLS handshake included, for the next request. Failures are
    /// ignored.
    void openConnection(const QUrl& url);

private:
    MainQueue& m_queue;
    QNetworkAccessManager m_manager;
    /// Owns the requests in progress; destroyed before the manager they use.
    QObject m_exchanges;
};

} // namespace tavrik
