#include "base/MainQueue.h"
#include "mock-server/LocalService.h"
#include "services/HttpClient.h"
#include "support/Tls.h"

#include <QProcess>
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
    return {"POST", url, {{"Content-Type", "text/plain"}}, body, timeout};
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

    /// What it has printed since the last call.
    QByteArray log() { return m_process.readAll(); }

    std::optional<qsizetype> cutAfter;

private:
    QProcess m_process;
    QTcpServer m_proxy;
};

} // namespace

class HttpClientTest : public QObject {
    Q_OBJECT

    MainQueue m_queue;

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
        constexpr auto limit = HttpClient::maximumBody;
        const std::pair<ScriptedReply, QByteArray> rows[]{
            {{.reply = {308, {{"Location", "/elsewhere"}}, "moved"}}, "308 moved"},
            {{.reply = {401, {{"WWW-Authenticate", "Basic realm=x"}}, "who"}}, "401 who"},
            {{.reply = {407, {}, "proxy"}}, "407 proxy"},
            {{.reply = {500, {}, "in pieces"}, .chunked = true, .byteInterval = 1ms}, "500 in pieces"},
            {{.reply = {.body = "until the end"}, .closeDelimited = true}, "200 until the end"},
            {{.reply = {.body = QByteArray(limit, 'x')}}, "200 " + QByteArray(limit, 'x')},
            {{.reply = {.status = 500}, .bodySize = limit + 1}, "500 oversized"},
            {{.bodySize = limit + 1, .chunked = true}, "200 oversized"}};
        for (const auto& [reply, expected] : rows) {
            LocalService service;
            HttpClient client(m_queue);
            service.script({reply});
            QVERIFY2(exchange(client, post(service.url())) == expected, expected.first(8).constData());
            QCOMPARE(service.requests().size(), 1);
        }
    }

    /// Also on a connection used before, where Qt would repeat the request.
    void incompleteResponseIsAnError() {
        const std::pair<ScriptedReply, bool> rows[]{
            {{.ending = Ending::reset, .afterRequestBytes = 100'000}, false},
            {{.ending = Ending::close}, false},
            {{.bodySize = 1000, .ending = Ending::close, .afterReplyBytes = 999}, false},
            {{.reply = {500}, .bodySize = 1000, .ending = Ending::close, .afterReplyBytes = 500}, false},
            {{.ending = Ending::stall, .afterRequestBytes = 100'000}, true},
            {{.bodySize = ScriptedReply::endless, .chunked = true, .byteInterval = 10ms}, true}};
        // Larger than the sockets' buffers, so that the upload can be interrupted.
        const QByteArray body(20'000'000, 'b');
        for (const auto& [reply, timesOut] : rows) {
            for (const int before : {0, 1}) {
                LocalService service;
                HttpClient client(m_queue);
                service.script(QList<ScriptedReply>(before) + QList{reply, ScriptedReply{}});
                if (before > 0)
                    QCOMPARE(exchange(client, post(service.url())), "200 "_ba);
                QCOMPARE(exchange(client, post(service.url(), body, timesOut ? 300ms : 60'000ms)),
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
        HttpClient client(m_queue);
        Http2Server foreign{Certificate()};
        QVERIFY(exchange(client, post(foreign.url())).contains("self-signed"));

        const Certificate certificate;
        certificate.trust();
        Http2Server server(certificate);
        QByteArray log;
        const auto connections = [&] {
            return (log += server.log()).count("negotiated protocol: h2");
        };
        client.openConnection(server.url());
        QTRY_COMPARE(connections(), 1);
        const QByteArray body(5'000'000, 'b');
        for (const auto& sent : {body, "short"_ba, QByteArray()})
            QVERIFY(exchange(client, post(server.url(), sent)) == "200 " + sent);
        for (const qsizetype afterBytes : {1, 1'000'000}) {
            server.cutAfter = afterBytes;
            QCOMPARE(exchange(client, post(server.url(), body)), cutOff);
            // A repeated request would arrive before the answer to a later one.
            QCOMPARE(exchange(client, post(server.url(), "later")), "200 later"_ba);
        }
        QCOMPARE(connections(), 3);
        QCOMPARE(log.count(":path: /"), 7);

        // One that has been idle may lead nowhere any more.
        HttpClient impatient(m_queue, 50ms);
        for (int opened = 4; opened < 6; ++opened) {
            QVERIFY(exchange(impatient, post(server.url(), "short")).startsWith("200"));
            QVERIFY(exchange(impatient, post(server.url(), "short")).startsWith("200"));
            QCOMPARE(connections(), opened);
            QTest::qWait(60);
        }
    }

    void requestArrivesUnchanged() {
        LocalService service;
        HttpClient client(m_queue);
        // The cookie must not be sent back.
        service.script({{.reply = {401, {{"Set-Cookie", "a=b"}}}}, {}});
        for (const auto& [method, size, status] : {std::tuple("POST", 100'000, "401 "), {"GET", 0, "200 "}}) {
            auto request =
                post(service.url(u"/a/b%20c?d=%2Fe"_s), QByteArray("\0\xff\r\nabc", 7).repeated(size));
            request.method = method;
            request.headers.emplaceBack("Authorization", "Bearer t");
            QCOMPARE(exchange(client, request), status);
            const auto& received = service.requests().last();
            QCOMPARE(received.method + ' ' + received.path + '?' + received.query + ' ' +
                         received.header("Authorization") + received.header("Cookie") +
                         received.header("User-Agent").first(7) + received.header("Accept-Language"),
                     method + " /a/b%20c?d=%2Fe Bearer tTavrik/en"_ba);
            QVERIFY(received.body == request.body);
        }
        auto request = post(service.url());
        request.headers.emplaceBack("Authorization", "Bearer key\r\nX-Other: 1");
        QCOMPARE(exchange(client, std::move(request)),
                 "! The Authorization header holds characters that cannot be sent"_ba);
        QCOMPARE(service.requests().size(), 2);
        service.script({{.reply = {302, {{"Location", "/elsewhere"}}}}, {.reply = {.body = "there"}}});
        QCOMPARE(exchange(client, {.method = "GET", .url = service.url(), .followsRedirects = true}),
                 "200 there"_ba);
        QCOMPARE(exchange(client, post(QUrl(u"http://127.0.0.1:1/?x"_s))), "! Connection refused"_ba);
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
                if ((left -= socket->readAll().size()) <= 0)
                    socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
            });
            timer->start(100);
        });
        HttpClient client(m_queue);
        const QUrl url(u"http://127.0.0.1:%1/"_s.arg(server.serverPort()));
        QCOMPARE(exchange(client, post(url, QByteArray(80'000'000, 'b'), 2000ms)), "200 "_ba);
    }

    // That completions come through the queue, tst_authstore sees.
    void completionIsDroppedWithTheClient() {
        LocalService service;
        auto client = std::make_unique<HttpClient>(m_queue);
        const auto calls = std::make_shared<int>(0);
        service.script({{.ending = Ending::stall}});
        client->send(post(service.url()), [calls](const auto&) { ++*calls; });
        QTRY_COMPARE(service.requests().size(), 1);
        client.reset();
        QTRY_COMPARE(calls.use_count(), 1);
        QCOMPARE(*calls, 0);
    }
};

QTEST_GUILESS_MAIN(HttpClientTest)
#include "tst_httpclient.moc"
