#include "base/HttpClient.h"

#include "base/MainQueue.h"

#include <QIODevice>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QTimer>

#include <algorithm>
#include <cstring>
#include <memory>

namespace tavrik {

namespace {

/// How much of a reply the network thread may hold before the main thread has taken it.
constexpr qint64 readAhead = qint64{1024} * 1024;

/// A body that can be read only once: the manager sends a request again by itself when a connection breaks,
/// but only if it can go back to the start of what it uploads.
class OneWayUpload : public QIODevice {
public:
    explicit OneWayUpload(QByteArray bytes) : m_bytes(std::move(bytes)) { open(ReadOnly | Unbuffered); }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_bytes.size() - m_position; }
    bool atEnd() const override { return bytesAvailable() == 0; }

protected:
    qint64 readData(char* data, qint64 maximum) override {
        const auto length = std::min(maximum, bytesAvailable());
        std::memcpy(data, m_bytes.constData() + m_position, static_cast<size_t>(length));
        m_position += length;
        return length;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    const QByteArray m_bytes;
    qint64 m_position = 0;
};

/// A line break would end the header and begin another of the caller's making.
bool isHeaderValue(const QByteArray& value) {
    return std::ranges::none_of(value, [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

int statusOf(const QNetworkReply& reply) {
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// The manager reports a status of 400 and above as an error too; what tells the two apart is the kind of
/// error.
bool hasWholeResponse(const QNetworkReply& reply) {
    const int status = statusOf(reply);
    const auto error = reply.error();
    if (status == 0 || error == QNetworkReply::NoError)
        return status != 0;
    return status >= 400 && (error > QNetworkReply::UnknownProxyError ||
                             error == QNetworkReply::ProxyAuthenticationRequiredError);
}

Error transportError(const QNetworkReply& reply) {
    switch (reply.error()) {
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::ContentReSendError:
        return {QStringLiteral("The server closed the connection before its reply was complete")};
    default:
        return {reply.errorString()};
    }
}

QNetworkRequest networkRequest(const HttpRequest& request) {
    QNetworkRequest result(request.url);
    for (const auto& [name, value] : request.headers)
        result.setRawHeader(name, value);
    result.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    result.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    return result;
}

/// One request and what becomes of it; deletes itself when it has delivered.
class Exchange : public QObject {
public:
    Exchange(QNetworkAccessManager& manager, MainQueue& queue, HttpRequest request,
             Completion<HttpResponse> completion, QObject* parent)
        : QObject(parent), m_queue(queue), m_completion(std::move(completion)) {
        auto networkRequest = tavrik::networkRequest(request);
        OneWayUpload* upload = nullptr;
        if (request.method != "GET") {
            auto body = std::move(request.body).value_or(QByteArray());
            networkRequest.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
            networkRequest.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
            upload = new OneWayUpload(std::move(body));
        }
        m_reply = manager.sendCustomRequest(networkRequest, request.method, upload);
        m_reply->setParent(this);
        if (upload)
            upload->setParent(m_reply);
        m_reply->setReadBufferSize(readAhead);

        m_timer.setSingleShot(true);
        m_timer.setInterval(request.timeout);
        m_timer.start();
        connect(&m_timer, &QTimer::timeout, this,
                [this] { giveUp({QStringLiteral("The request timed out")}); });
        connect(m_reply, &QNetworkReply::uploadProgress, this, &Exchange::uploaded);
        connect(m_reply, &QNetworkReply::readyRead, this, &Exchange::read);
        connect(m_reply, &QNetworkReply::finished, this, &Exchange::finish);
    }

private:
    void uploaded(qint64 sent, qint64 total) {
        if (m_uploadComplete)
            return;
        m_uploadComplete = sent == total;
        m_timer.start();
    }

    void read() {
        m_response.body += m_reply->readAll();
        if (m_response.body.size() <= HttpClient::maximumBody)
            return;
        m_response.status = statusOf(*m_reply);
        m_response.body.clear();
        m_response.oversized = true;
        abort();
        deliver(std::move(m_response));
    }

    void finish() {
        if (!hasWholeResponse(*m_reply))
            return deliver(std::unexpected(transportError(*m_reply)));
        m_response.status = statusOf(*m_reply);
        deliver(std::move(m_response));
    }

    void giveUp(Error error) {
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

    MainQueue& m_queue;
    Completion<HttpResponse> m_completion;
    QNetworkReply* m_reply = nullptr;
    QTimer m_timer;
    HttpResponse m_response;
    bool m_uploadComplete = false;
};

} // namespace

HttpClient::HttpClient(MainQueue& queue, QObject* parent) : QObject(parent), m_queue(queue) {}

void HttpClient::send(HttpRequest request, Completion<HttpResponse> completion) {
    for (const auto& [name, value] : request.headers) {
        if (isHeaderValue(value))
            continue;
        Error error{QStringLiteral("The %1 header holds characters that cannot be sent")
                        .arg(QString::fromUtf8(name))};
        m_queue.post([completion = std::move(completion), error = std::move(error)]() mutable {
            completion(std::unexpected(std::move(error)));
        });
        return;
    }
    new Exchange(m_manager, m_queue, std::move(request), std::move(completion), &m_exchanges);
}

void HttpClient::openConnection(const QUrl& url) {
    if (url.scheme() == u"https") {
        // The same list as a request's own: with another the request would open a connection of its own.
        auto configuration = QSslConfiguration::defaultConfiguration();
        configuration.setAllowedNextProtocols(
            {QSslConfiguration::ALPNProtocolHTTP2, QSslConfiguration::NextProtocolHttp1_1});
        m_manager.connectToHostEncrypted(url.host(), static_cast<quint16>(url.port(443)), configuration);
    } else {
        m_manager.connectToHost(url.host(), static_cast<quint16>(url.port(80)));
    }
}

} // namespace tavrik
