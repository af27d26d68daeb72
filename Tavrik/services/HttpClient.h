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

struct HttpRequest {
    QByteArray method;
    QUrl url;
    QList<std::pair<QByteArray, QByteArray>> headers = {};
    std::optional<QByteArray> body = {};
    /// Bounds the wait: without progress while uploading, then in total for the reply.
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
};

/// A reply of any status, whole.
struct HttpResponse {
    int status = 0;
    QByteArray body;
    /// The body went past HttpClient::maximumBody and was not kept: treat it as one that cannot be parsed.
    bool oversized = false;
};

/// The program's one way to the network. Connections are kept and reused; the system's proxies are honoured;
/// no cookies, no cache. Redirects are not followed, and nothing but a GET is ever sent twice. Main thread
/// only.
class HttpClient : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 maximumBody = qint64{16} * 1024 * 1024;

    explicit HttpClient(MainQueue& queue, QObject* parent = nullptr);

    /// Sends the request. The completion is posted to the main queue, exactly once: the response, whatever
    /// its status, or an error when there was none (no connection, a reset, a truncated body, the time-out).
    /// If the client is destroyed first, the request is given up and its completion dropped.
    void send(HttpRequest request, Completion<HttpResponse> completion);

    /// Opens a connection to the URL's host, TLS included, so that the next request starts at once. Reports
    /// nothing.
    void openConnection(const QUrl& url);

private:
    MainQueue& m_queue;
    QNetworkAccessManager m_manager;
    /// Owns the requests under way; destroyed before the manager they use.
    QObject m_exchanges;
};

} // namespace tavrik
