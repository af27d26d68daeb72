#include "services/HttpClient.h"

#include "base/AppVersion.h"
#include "base/MainQueue.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QIODevice>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QThread>
#include <QTimer>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <tuple>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

/// Turns Nagle's algorithm off on this process's TCP connections; other descriptors refuse the option. Qt
/// keeps its sockets to itself. Otherwise the end of a body waits for an acknowledgement on a connection used
/// before: 17 ms more to a server 25 ms away (81 instead of 64), 40 ms on loopback.
void sendWithoutDelay() {
    constexpr int lastDescriptor = 255;
    constexpr int on = 1;
    for (int descriptor = 0; descriptor <= lastDescriptor; ++descriptor)
        ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int statusOf(const QNetworkReply& reply) {
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// A request body that can be read only once. QNetworkAccessManager repeats a request when a connection
/// breaks, but only if it can reset the upload device.
class OneWayUpload : public QIODevice {
public:
    explicit OneWayUpload(QByteArray bytes) : m_bytes(std::move(bytes)) { open(ReadOnly | Unbuffered); }

    /// Makes the device a child of its reply.
    void setReply(QNetworkReply& reply) {
        m_reply = &reply;
        setParent(&reply);
    }

    bool hasStarted() const { return m_position > 0; }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_bytes.size() - m_position; }
    bool atEnd() const override { return bytesAvailable() == 0; }

    /// After a 307 or 308 the manager resets the device without sending it again, as redirects are not
    /// followed.
    bool reset() override { return m_reply && statusOf(*m_reply) != 0; }

protected:
    qint64 readData(char* data, qint64 maximum) override {
        const auto length = std::min(hasStarted() ? maximum : firstPiece, bytesAvailable());
        std::memcpy(data, m_bytes.constData() + m_position, static_cast<size_t>(length));
        m_position += length;
        return length;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    /// Short: the manager sends it together with the headers, and a server cannot read a TLS record before it
    /// is complete. A full one takes an idle connection more than one round trip.
    static constexpr qint64 firstPiece = 64;

    const QByteArray m_bytes;
    qint64 m_position = 0;
    QNetworkReply* m_reply = nullptr;
};

/// A status of 400 and above is an error to QNetworkReply, but still a complete response.
bool isComplete(const QNetworkReply& reply) {
    const int status = statusOf(reply);
    const auto error = reply.error();
    if (status == 0 || error == QNetworkReply::NoError)
        return status != 0;
    return status >= 400 && (error > QNetworkReply::UnknownProxyError ||
                             error == QNetworkReply::ProxyAuthenticationRequiredError);
}

/// QNetworkReply does not always report a closed connection when the status is an error too.
bool isShorterThanAnnounced(const QNetworkReply& reply, qint64 size) {
    return !reply.hasRawHeader("Content-Encoding") &&
           size < reply.header(QNetworkRequest::ContentLengthHeader).toLongLong();
}

Error connectionClosed() {
    return {u"The server closed the connection before its reply was complete"_s};
}

Error transportError(const QNetworkReply& reply, bool uploadHasStarted) {
    switch (reply.error()) {
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::ContentReSendError:
        return connectionClosed();
    case QNetworkReply::UnknownNetworkError:
        return uploadHasStarted ? connectionClosed() : Error{reply.errorString()};
    default:
        return {reply.errorString()};
    }
}

QNetworkRequest networkRequest(const HttpRequest& request) {
    QNetworkRequest result(request.url);
    // Instead of a browser's name and the user's languages.
    result.setRawHeader("User-Agent", "Tavrik/" + appVersion().toUtf8());
    result.setRawHeader("Accept-Language", "en");
    for (const auto& [name, value] : request.headers)
        result.setRawHeader(name, value);
    result.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    result.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    return result;
}

/// One request and its response, that of a redirect included; deletes itself after calling its completion.
class Exchange : public QObject {
public:
    Exchange(QNetworkAccessManager& manager, MainQueue& queue, HttpRequest request,
             Completion<HttpResponse> completion, QObject* parent)
        : QObject(parent), m_manager(manager), m_queue(queue), m_completion(std::move(completion)),
          m_redirectsLeft(request.followsRedirects ? maximumRedirects : 0) {
        auto networkRequest = tavrik::networkRequest(request);
        if (request.method != "GET") {
            auto body = std::move(request.body).value_or(QByteArray());
            networkRequest.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
            networkRequest.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
            m_upload = new OneWayUpload(std::move(body));
            sendWithoutDelay();
        }
        send(networkRequest, request.method);
        if (m_upload)
            m_upload->setReply(*m_reply);

        m_timer.setSingleShot(true);
        m_timer.setInterval(request.timeout);
        m_timer.start();
        connect(&m_timer, &QTimer::timeout, this, [this] { fail({u"The request timed out"_s}); });
    }

private:
    static constexpr int maximumRedirects = 10;

    void send(const QNetworkRequest& request, const QByteArray& method) {
        m_reply = m_manager.sendCustomRequest(request, method, m_upload);
        m_reply->setParent(this);
        connect(m_reply, &QNetworkReply::uploadProgress, this, &Exchange::uploaded);
        connect(m_reply, &QNetworkReply::readyRead, this, &Exchange::read);
        connect(m_reply, &QNetworkReply::finished, this, &Exchange::finish);
    }

    /// Not left to the manager: that of Qt 6.8 sometimes asks the new address twice and delivers both bodies
    /// as one.
    bool followRedirect() {
        const auto from = m_reply->url();
        const auto to =
            from.resolved(m_reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl());
        if (m_redirectsLeft == 0 || to == from ||
            (to.scheme() != u"https" && (to.scheme() != u"http" || from.scheme() == u"https")))
            return false;
        --m_redirectsLeft;
        m_response = {};
        auto request = m_reply->request();
        request.setUrl(to);
        send(request, "GET");
        return true;
    }

    void uploaded() {
        if (m_uploadComplete)
            return;
        m_uploadComplete = !m_upload || m_upload->atEnd();
        m_timer.start();
    }

    void read() {
        m_response.body += m_reply->readAll();
        const auto announced = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        if (std::max(announced, qint64{m_response.body.size()}) <= HttpClient::maximumBody)
            return;
        m_response.status = statusOf(*m_reply);
        m_response.body.clear();
        m_response.oversized = true;
        abort();
        deliver(std::move(m_response));
    }

    void finish() {
        if (isShorterThanAnnounced(*m_reply, m_response.body.size()))
            return deliver(std::unexpected(connectionClosed()));
        if (!isComplete(*m_reply))
            return deliver(std::unexpected(transportError(*m_reply, m_upload && m_upload->hasStarted())));
        if (followRedirect())
            return;
        m_response.status = statusOf(*m_reply);
        deliver(std::move(m_response));
    }

    void fail(Error error) {
        abort();
        deliver(std::unexpected(std::move(error)));
    }

    void abort() {
        m_reply->disconnect(this);
        m_reply->abort();
    }

    void deliver(Result<HttpResponse> result) {
        m_timer.stop();
        m_queue.post([completion = std::move(m_completion), result = std::move(result)]() mutable {
            completion(std::move(result));
        });
        deleteLater();
    }

    QNetworkAccessManager& m_manager;
    MainQueue& m_queue;
    Completion<HttpResponse> m_completion;
    int m_redirectsLeft;
    QNetworkReply* m_reply = nullptr;
    OneWayUpload* m_upload = nullptr;
    QTimer m_timer;
    HttpResponse m_response;
    bool m_uploadComplete = false;
};

/// How long ago something was last done, the computer's sleep included.
class IdleClock {
public:
    void restart() {
        m_awake.restart();
        m_wall = QDateTime::currentDateTimeUtc();
    }

    bool exceeds(std::chrono::milliseconds bound) const {
        // The monotonic clock stops during sleep; the wall clock can be set back.
        return !m_awake.isValid() || m_awake.hasExpired(bound.count()) ||
               m_wall.msecsTo(QDateTime::currentDateTimeUtc()) > bound.count();
    }

private:
    QElapsedTimer m_awake;
    QDateTime m_wall;
};

} // namespace

bool isHeaderValue(const QByteArray& value) {
    return std::ranges::none_of(value, [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

/// The part of the client that lives on its thread.
class HttpClient::Network : public QObject {
public:
    /// Work that other threads have for this one.
    MainQueue jobs{this};

    Network(MainQueue& queue, std::chrono::milliseconds maximumIdle)
        : m_queue(queue), m_maximumIdle(maximumIdle) {}

    void send(HttpRequest request, Completion<HttpResponse> completion) {
        auto& manager = freshManager(m_maximumIdle);
        auto* exchange =
            new Exchange(manager, m_queue, std::move(request), std::move(completion), &m_exchanges);
        connect(exchange, &QObject::destroyed, this, [this] { m_idle.restart(); });
    }

    void openConnection(const QUrl& url) {
        auto& manager = freshManager(m_maximumIdle / 3);
        if (url.scheme() == u"https") {
            // The request has the same list; otherwise it would open another connection.
            auto configuration = QSslConfiguration::defaultConfiguration();
            configuration.setAllowedNextProtocols(
                {QSslConfiguration::ALPNProtocolHTTP2, QSslConfiguration::NextProtocolHttp1_1});
            manager.connectToHostEncrypted(url.host(), static_cast<quint16>(url.port(443)), configuration);
        } else {
            manager.connectToHost(url.host(), static_cast<quint16>(url.port(80)));
        }
    }

private:
    /// Without connections that were idle for longer, unless others are in use.
    QNetworkAccessManager& freshManager(std::chrono::milliseconds bound) {
        if (!m_manager) {
            m_manager = std::make_unique<QNetworkAccessManager>();
            // Deletes the replies behind openConnection(), which are not accessible.
            m_manager->setAutoDeleteReplies(true);
        } else if (m_exchanges.children().isEmpty() && m_idle.exceeds(bound)) {
            m_manager->clearConnectionCache();
        }
        m_idle.restart();
        return *m_manager;
    }

    MainQueue& m_queue;
    const std::chrono::milliseconds m_maximumIdle;
    /// Made on the client's thread.
    std::unique_ptr<QNetworkAccessManager> m_manager;
    IdleClock m_idle;
    /// Owns the requests in progress; destroyed before the manager they use.
    QObject m_exchanges{this};
};

HttpClient::HttpClient(MainQueue& queue, std::chrono::milliseconds maximumIdle)
    : m_queue(queue), m_thread(std::make_unique<QThread>()), m_network(new Network(queue, maximumIdle)) {
    m_thread->setObjectName(u"network"_s);
    m_network->moveToThread(m_thread.get());
    connect(m_thread.get(), &QThread::finished, m_network, &QObject::deleteLater);
}

HttpClient::~HttpClient() {
    if (!m_thread->isRunning())
        delete m_network;
    m_thread->quit();
    if (!m_thread->wait(QDeadlineTimer(500ms)))
        std::ignore = m_thread.release();
}

void HttpClient::send(HttpRequest request, Completion<HttpResponse> completion) {
    for (const auto& [name, value] : request.headers) {
        if (isHeaderValue(value))
            continue;
        Error error{u"The %1 header holds characters that cannot be sent"_s.arg(QString::fromUtf8(name))};
        m_queue.post([completion = std::move(completion), error = std::move(error)]() mutable {
            completion(std::unexpected(std::move(error)));
        });
        return;
    }
    post([network = m_network, request = std::move(request), completion = std::move(completion)]() mutable {
        network->send(std::move(request), std::move(completion));
    });
}

void HttpClient::openConnection(const QUrl& url) {
    post([network = m_network, url] { network->openConnection(url); });
}

void HttpClient::post(std::function<void()> job) {
    if (!m_thread->isRunning())
        m_thread->start();
    m_network->jobs.post(std::move(job));
}

} // namespace tavrik
