#include "base/MainQueue.h"
#include "mock-server/LocalService.h"
#include "services/HttpClient.h"
#include "support/Tls.h"

#include <QProcess>
#include <QSslServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

using namespace tavrik;
using namespace tavrik::mock;
using namespace tavrik::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Ending = ScriptedReply::Ending;

namespace {

const QByteArray cutOff = "! The server closed the connection before its reply was complete";

HttpRequest post(const QUrl& url, const QByteArray& body = "body", std::chrono::milliseconds timeout = 60s) {
    return {.method = "POST",
            .url = url,
            .headers = {{"Content-Type", "text/plain"}},
            .body = body,
            .timeout = timeout};
}

std::unique_ptr<QTcpServer> tlsListener(const Certificate& certificate) {
    auto listener = std::make_unique<QSslServer>();
    listener->setSslConfiguration(certificate.serverConfiguration());
    return listener;
}

/// nghttpd, which returns what is posted to it, behind a connection that the test can cut.
class Http2Server {
public:
    explicit Http2Server(const Certificate& certificate) {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost);
        const auto port = probe.serverPort();
        probe.close();
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(u"nghttpd"_s, {u"-v"_s, u"--echo-upload"_s, u"--address=127.0.0.1"_s,
                                       QString::number(port), certificate.keyFile(), certificate.file()});
        m_process.waitForReadyRead();
        m_proxy.listen(QHostAddress::LocalHost);
        QObject::connect(&m_proxy, &QTcpServer::newConnection, &m_proxy, [this, port] {
            auto* client = m_proxy.nextPendingConnection();
            auto* server = new QTcpSocket(client);
            server->connectToHost(QHostAddress::LocalHost, port);
            QObject::connect(server, &QTcpSocket::readyRead, client,
                             [=] { client->write(server->readAll()); });
            QObject::connect(client, &QTcpSocket::readyRead, server, [=, this] {
                const auto bytes = client->readAll();
                server->write(bytes);
                if (cutAfter && (*cutAfter -= bytes.size()) <= 0) {
                    cutAfter.reset();
                    client->abort();
                }
            });
        });
    }
    ~Http2Server() {
        m_process.kill();
        m_process.waitForFinished();
    }

    QUrl url() const { return QUrl(u"https://127.0.0.1:%1/"_s.arg(m_proxy.serverPort())); }

    /// How often the log has the text.
    qsizetype logged(const QByteArray& text) {
        m_log += m_process.readAll();
        return m_log.count(text);
    }

    std::optional<qsizetype> cutAfter;

private:
    QProcess m_process;
    QByteArray m_log;
    QTcpServer m_proxy;
};

} // namespace

class HttpClientTest : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    const Certificate m_certificate;

    /// The status and body of the response, or its error after "! ". The completion must be called exactly
    /// once, and not within the call.
    QByteArray exchange(HttpClient& client, HttpRequest request) {
        QByteArrayList outcomes;
        QEventLoop loop;
        client.send(std::move(request), [&](const Result<HttpResponse>& result) {
            outcomes << (result ? QByteArray::number(result->status) +
                                      (result->oversized ? " oversized" : " ") + result->body
                                : "! " + result.error().description.toUtf8());
            loop.quit();
        });
        if (!outcomes.isEmpty())
            return "called too early";
        QTimer::singleShot(60s, &loop, &QEventLoop::quit);
        loop.exec();
        QCoreApplication::processEvents();
        return outcomes.join(" and ");
    }

private Q_SLOTS:
    void anyStatusIsAResponse() {
        const ScriptedReply replies[]{
            {.reply = {.status = 308, .headers = {{"Location", "/elsewhere"}}, .body = "moved"}},
            {.reply = {.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"x\""}}, .body = "who"}},
            {.reply = {.status = 407, .body = "proxy"}},
            {.reply = {.status = 503, .body = "later"}},
            {.reply = {.body = "in pieces"}, .chunked = true, .byteInterval = 1ms},
            {.reply = {.body = "until the end"}, .closeDelimited = true},
            {.reply = {.body = QByteArray(HttpClient::maximumBody, 'x')}}};
        for (const auto& reply : replies) {
            LocalService service;
            HttpClient client(m_queue);
            service.script({reply});
            const auto expected = QByteArray::number(reply.reply.status) + ' ' + reply.reply.body;
            QVERIFY2(exchange(client, post(service.url())) == expected, expected.first(8).constData());
            QCOMPARE(service.requests().size(), 1);
        }
    }

    /// Also on a connection used before, where Qt would repeat the request.
    void incompleteResponseIsAnError() {
        constexpr auto endless = ScriptedReply::endless;
        const std::pair<ScriptedReply, bool> rows[]{
            {{.ending = Ending::reset, .afterRequestBytes = 100'000}, false},
            {{.ending = Ending::reset}, false},
            {{.ending = Ending::close}, false},
            {{.bodySize = 10, .ending = Ending::close, .afterReplyBytes = 0}, false},
            {{.bodySize = 1000, .ending = Ending::close, .afterReplyBytes = 999}, false},
            {{.reply = {.status = 500}, .bodySize = 1000, .ending = Ending::close, .afterReplyBytes = 500},
             false},
            {{.ending = Ending::stall, .afterRequestBytes = 100'000}, true},
            {{.ending = Ending::stall}, true},
            {{.bodySize = endless, .chunked = true, .byteInterval = 10ms}, true}};
        // Larger than the sockets' buffers, so that the upload can be interrupted.
        const QByteArray body(20'000'000, 'b');
        for (const auto& [reply, timesOut] : rows) {
            for (const int before : {0, 1}) {
                LocalService service;
                HttpClient client(m_queue);
                service.script(QList<ScriptedReply>(before) + QList{reply, ScriptedReply{}});
                if (before > 0)
                    QCOMPARE(exchange(client, post(service.url())), "200 "_ba);
                const auto timeout = timesOut ? 300ms : std::chrono::milliseconds(60s);
                QCOMPARE(exchange(client, post(service.url(), body, timeout)),
                         timesOut ? "! The request timed out"_ba : cutOff);
                QTRY_COMPARE(service.requests().size(), before + 1);
                QCOMPARE(service.requests().last().connection, 1);
                // A repeated request would arrive before the answer to a later one.
                QCOMPARE(exchange(client, post(service.url())), "200 "_ba);
                QCOMPARE(service.requests().size(), before + 2);
            }
        }
    }

    void http2() {
        const Trust trust(m_certificate.chain());
        Http2Server server(m_certificate);
        HttpClient client(m_queue);
        client.openConnection(server.url());
        const QByteArray body(5'000'000, 'b');
        for (const auto& sent : {body, "short"_ba, QByteArray()})
            QVERIFY(exchange(client, post(server.url(), sent)) == "200 " + sent);
        QCOMPARE(server.logged("negotiated protocol: h2"), 1);
        for (const qsizetype afterBytes : {1, 1'000'000}) {
            server.cutAfter = afterBytes;
            QCOMPARE(exchange(client, post(server.url(), body)), cutOff);
            // A repeated request would arrive before the answer to a later one.
            QCOMPARE(exchange(client, post(server.url(), "later")), "200 later"_ba);
        }
        QCOMPARE(server.logged(":path: /"), 7);
    }

    void noConnectionIsAnError() {
        HttpClient client(m_queue);
        QCOMPARE(exchange(client, post(QUrl(u"http://127.0.0.1:1/?x"_s))), "! Connection refused"_ba);
        QCOMPARE(exchange(client, post(QUrl(u"http://nowhere.invalid/?x"_s))),
                 "! Host nowhere.invalid not found"_ba);
    }

    void bodyBeyondTheLimitIsDropped() {
        constexpr auto tooMuch = HttpClient::maximumBody + 1;
        // Known from the header, or as soon as that much has arrived.
        for (const auto& reply : {ScriptedReply{.reply = {.status = 500}, .bodySize = tooMuch},
                                  ScriptedReply{.reply = {.status = 500},
                                                .bodySize = ScriptedReply::endless,
                                                .chunked = true,
                                                .ending = Ending::stall,
                                                .afterReplyBytes = tooMuch + 1'000'000}}) {
            LocalService service;
            HttpClient client(m_queue);
            service.script({reply});
            QCOMPARE(exchange(client, post(service.url())), "500 oversized"_ba);
        }
    }

    void requestArrivesUnchanged() {
        for (const auto& [method, size] :
             {std::pair("GET", 0), {"POST", 0}, {"POST", 1}, {"POST", 5'000'000}}) {
            QByteArray body(size, 0);
            for (int i = 0; i < size; ++i)
                body[i] = static_cast<char>(i * 7 + i / 251);
            LocalService service;
            HttpClient client(m_queue);
            // The cookie must not be sent back.
            service.script({{.reply = {.status = 401, .headers = {{"Set-Cookie", "a=b"}}}}, {}});
            for (const auto* status : {"401 ", "200 "}) {
                auto request = post(service.url(u"/a/b%20c?d=%2Fe"_s), body);
                request.method = method;
                request.headers.emplaceBack("Authorization", "Bearer t");
                QCOMPARE(exchange(client, std::move(request)), status);
                const auto& received = service.requests().last();
                QCOMPARE(received.method + ' ' + received.path + '?' + received.query,
                         method + " /a/b%20c?d=%2Fe"_ba);
                QCOMPARE(received.header("Authorization"), "Bearer t");
                QCOMPARE(received.header("Content-Type"), "text/plain");
                QCOMPARE(received.header("Cookie"), QByteArray());
                QVERIFY(received.body == body);
            }
        }
    }

    void headerCannotContainAnother() {
        LocalService service;
        HttpClient client(m_queue);
        auto request = post(service.url());
        request.headers.emplaceBack("Authorization", "Bearer key\r\nX-Other: 1");
        QCOMPARE(exchange(client, std::move(request)),
                 "! The Authorization header holds characters that cannot be sent"_ba);
        QCOMPARE(service.connectionCount(), 0);
    }

    void openedConnectionIsTheOneUsed() {
        const Trust trust(m_certificate.chain());
        for (const auto& scheme : {u"http"_s, u"https"_s}) {
            LocalService service(scheme == u"https" ? tlsListener(m_certificate)
                                                    : std::make_unique<QTcpServer>());
            HttpClient client(m_queue);
            for (int round = 0; round < 2; ++round) {
                client.openConnection(service.url({}, scheme));
                QTRY_COMPARE(service.connectionCount(), 1);
                QVERIFY(exchange(client, post(service.url({}, scheme))).startsWith("404 "));
                QCOMPARE(service.connectionCount(), 1);
            }
        }
    }

    void untrustedServerGetsNoRequest() {
        LocalService service(tlsListener(m_certificate));
        HttpClient client(m_queue);
        QVERIFY(exchange(client, post(service.url({}, u"https"_s))).contains("self-signed"));
        QCOMPARE(service.requests().size(), 0);
    }

    void slowUploadDoesNotTimeOut() {
        // Reads the body in steps, each well within the time-out, all of them together beyond it.
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        connect(&server, &QTcpServer::newConnection, &server, [&] {
            auto* socket = server.nextPendingConnection();
            socket->setReadBufferSize(2'000'000);
            auto* timer = new QTimer(socket);
            connect(timer, &QTimer::timeout, socket, [socket, left = qint64{80'000'000}]() mutable {
                left -= socket->readAll().size();
                if (left <= 0)
                    socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
            });
            timer->start(100);
        });
        HttpClient client(m_queue);
        const QUrl url(u"http://127.0.0.1:%1/"_s.arg(server.serverPort()));
        QCOMPARE(exchange(client, post(url, QByteArray(80'000'000, 'b'), 2000ms)), "200 "_ba);
    }

    void completionWaitsForTheQueue() {
        LocalService service;
        auto client = std::make_unique<HttpClient>(m_queue);
        const auto calls = std::make_shared<int>(0);
        auto hold = std::make_unique<MainQueue::Hold>(m_queue);
        client->send(post(service.url()), [calls](const auto&) { ++*calls; });
        QTRY_COMPARE(service.requests().size(), 1);
        QTest::qWait(50);
        QCOMPARE(*calls, 0);
        hold.reset();
        QTRY_COMPARE(*calls, 1);
        // Dropped with the client.
        service.script({{.ending = Ending::stall}});
        client->send(post(service.url()), [calls](const auto&) { ++*calls; });
        QTRY_COMPARE(service.requests().size(), 2);
        client.reset();
        QTRY_COMPARE(calls.use_count(), 1);
        QCOMPARE(*calls, 1);
    }
};

QTEST_GUILESS_MAIN(HttpClientTest)
#include "tst_httpclient.moc"
