#include "base/MainQueue.h"
#include "mock-server/LocalService.h"
#include "services/HttpClient.h"
#include "support/Tls.h"

#include <QEventLoop>
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

Q_DECLARE_METATYPE(tavrik::mock::ScriptedReply)

namespace {

const QString cutOff = u"The server closed the connection before its reply was complete"_s;

HttpRequest post(const QUrl& url, const QByteArray& body = "body", std::chrono::milliseconds timeout = 60s) {
    return {.method = "POST",
            .url = url,
            .headers = {{"Content-Type", "text/plain"}},
            .body = body,
            .timeout = timeout};
}

std::unique_ptr<QTcpServer> tlsListener(const QSslConfiguration& configuration) {
    auto listener = std::make_unique<QSslServer>();
    listener->setSslConfiguration(configuration);
    return listener;
}

/// nghttpd, which returns what is posted to it, behind a line that the test can cut.
class Http2Server {
public:
    explicit Http2Server(const Certificate& certificate) {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost);
        m_port = probe.serverPort();
        probe.close();
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(u"nghttpd"_s, {u"-v"_s, u"--echo-upload"_s, u"--address=127.0.0.1"_s,
                                       QString::number(m_port), certificate.keyFile(), certificate.file()});
        m_process.waitForReadyRead();
        m_line.listen(QHostAddress::LocalHost);
        QObject::connect(&m_line, &QTcpServer::newConnection, &m_line, [this] {
            auto* client = m_line.nextPendingConnection();
            auto* server = new QTcpSocket(client);
            server->connectToHost(QHostAddress::LocalHost, m_port);
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

    QUrl url() const { return QUrl(u"https://127.0.0.1:%1/"_s.arg(m_line.serverPort())); }

    /// How often the log has the text.
    qsizetype logged(const QByteArray& text) {
        m_log += m_process.readAll();
        return m_log.count(text);
    }

    std::optional<qsizetype> cutAfter;

private:
    quint16 m_port = 0;
    QProcess m_process;
    QByteArray m_log;
    QTcpServer m_line;
};

} // namespace

class HttpClientTest : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    const Certificate m_certificate;
    const QSslConfiguration m_serverConfiguration = m_certificate.serverConfiguration();

    /// Sends and waits for the completion, which must be called exactly once and not within the call.
    Result<HttpResponse> exchange(HttpClient& client, HttpRequest request) {
        QList<Result<HttpResponse>> outcomes;
        // Not QTRY: it sleeps between events, and an upload has many.
        QEventLoop loop;
        client.send(std::move(request), [&](Result<HttpResponse> result) {
            outcomes.append(std::move(result));
            loop.quit();
        });
        const bool early = !outcomes.isEmpty();
        QTimer::singleShot(60s, &loop, &QEventLoop::quit);
        if (!early)
            loop.exec();
        QCoreApplication::processEvents();
        if (early || outcomes.size() != 1)
            return std::unexpected(Error{u"delivered %1 times"_s.arg(outcomes.size())});
        return outcomes.first();
    }

private Q_SLOTS:
    void anyStatusIsAResponse_data() {
        QTest::addColumn<ScriptedReply>("reply");
        const auto row = [](const char* name, const ScriptedReply& reply) {
            QTest::newRow(name) << reply;
        };
        row("308", {.reply = {.status = 308, .headers = {{"Location", "/elsewhere"}}, .body = "moved"}});
        row("401 with a challenge",
            {.reply = {
                 .status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"x\""}}, .body = "who"}});
        row("407", {.reply = {.status = 407, .body = "proxy"}});
        row("503", {.reply = {.status = 503, .body = "later"}});
        row("chunked", {.reply = {.body = "in pieces"}, .chunked = true});
        row("a byte at a time", {.reply = {.body = "slow"}, .chunked = true, .byteInterval = 1ms});
        row("ended by closing", {.reply = {.body = "until the end"}, .closeDelimited = true});
        row("16 MB", {.reply = {.body = QByteArray(HttpClient::maximumBody, 'x')}});
    }
    void anyStatusIsAResponse() {
        QFETCH(ScriptedReply, reply);
        LocalService service;
        HttpClient client(m_queue);
        service.script({reply});
        const auto response = exchange(client, post(service.url()));
        QVERIFY2(response, response ? "" : qPrintable(response.error().description));
        QCOMPARE(response->status, reply.reply.status);
        QVERIFY(response->body == reply.reply.body);
        QVERIFY(!response->oversized);
        QCOMPARE(service.requests().size(), 1);
    }

    void incompleteResponseIsAnError_data() {
        QTest::addColumn<ScriptedReply>("reply");
        QTest::addColumn<bool>("timesOut");
        const auto row = [](const char* name, const ScriptedReply& reply, bool timesOut = false) {
            QTest::newRow(name) << reply << timesOut;
        };
        row("reset during the upload", {.ending = Ending::reset, .afterRequestBytes = 100'000});
        row("reset after the request", {.ending = Ending::reset});
        row("closed after the request", {.ending = Ending::close});
        row("closed after the reply's head", {.bodySize = 10, .ending = Ending::close, .afterReplyBytes = 0});
        row("truncated", {.bodySize = 1000, .ending = Ending::close, .afterReplyBytes = 999});
        row("truncated 500",
            {.reply = {.status = 500}, .bodySize = 1000, .ending = Ending::close, .afterReplyBytes = 500});
        row("stalls during the upload", {.ending = Ending::stall, .afterRequestBytes = 100'000}, true);
        row("stalls after the request", {.ending = Ending::stall}, true);
        row("never ends", {.bodySize = ScriptedReply::endless, .chunked = true, .byteInterval = 10ms}, true);
    }
    /// Also on a connection used before, where Qt would repeat the request.
    void incompleteResponseIsAnError() {
        QFETCH(ScriptedReply, reply);
        QFETCH(bool, timesOut);
        for (const bool reused : {false, true}) {
            LocalService service;
            HttpClient client(m_queue);
            const auto count = reused ? 2 : 1;
            if (reused) {
                service.script({{.reply = {.body = "first"}}});
                QVERIFY(exchange(client, post(service.url())));
            }
            service.script({reply});
            // Larger than the sockets' buffers, so that the upload can be interrupted.
            const QByteArray body(20'000'000, 'b');
            const auto response = exchange(
                client, post(service.url(), body, timesOut ? 300ms : std::chrono::milliseconds(60s)));
            QVERIFY(!response);
            QCOMPARE(response.error().description, timesOut ? u"The request timed out"_s : cutOff);
            QTRY_COMPARE(service.requests().size(), count);
            QCOMPARE(service.requests().last().connection, 1);
            // A repeated request would arrive before the answer to a later one.
            service.script({{.reply = {.body = "last"}}});
            QVERIFY(exchange(client, post(service.url())));
            QCOMPARE(service.requests().size(), count + 1);
        }
    }

    void http2() {
        const Trust trust(m_certificate.chain());
        Http2Server server(m_certificate);
        HttpClient client(m_queue);
        client.openConnection(server.url());
        const QByteArray body(5'000'000, 'b');
        for (const auto& sent : {body, "short"_ba, QByteArray()}) {
            const auto response = exchange(client, post(server.url(), sent));
            QVERIFY2(response, response ? "" : qPrintable(response.error().description));
            QVERIFY(response->body == sent);
        }
        QCOMPARE(server.logged("negotiated protocol: h2"), 1);
        for (const qsizetype afterBytes : {1, 1'000'000}) {
            server.cutAfter = afterBytes;
            const auto response = exchange(client, post(server.url(), body));
            QVERIFY(!response);
            QCOMPARE(response.error().description, cutOff);
            // A repeated request would arrive before the answer to a later one.
            QVERIFY(exchange(client, post(server.url(), "later")));
        }
        QCOMPARE(server.logged(":path: /"), 7);
    }

    void noConnectionIsAnError() {
        HttpClient client(m_queue);
        const auto refused = exchange(client, post(QUrl(u"http://127.0.0.1:1/?secret"_s)));
        QVERIFY(!refused);
        QCOMPARE(refused.error().description, u"Connection refused"_s);
        const auto lost = exchange(client, post(QUrl(u"http://nowhere.invalid/?secret"_s)));
        QVERIFY(!lost);
        QCOMPARE(lost.error().description, u"Host nowhere.invalid not found"_s);
    }

    void bodyBeyondTheLimitIsNotKept() {
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
            const auto response = exchange(client, post(service.url()));
            QVERIFY2(response, response ? "" : qPrintable(response.error().description));
            QCOMPARE(response->status, 500);
            QVERIFY(response->oversized);
            QVERIFY(response->body.isEmpty());
        }
    }

    void requestArrivesAsItIs() {
        for (const auto& [method, size] :
             {std::pair("GET", 0), {"POST", 0}, {"POST", 1}, {"POST", 5'000'000}}) {
            QByteArray body(size, 0);
            for (int i = 0; i < size; ++i)
                body[i] = static_cast<char>(i * 7 + i / 251);
            LocalService service;
            HttpClient client(m_queue);
            // The cookie must not be sent back.
            service.script(
                {{.reply = {.status = 401, .headers = {{"Set-Cookie", "a=b"}}}}, {.reply = {.status = 200}}});
            for (const int count : {1, 2}) {
                auto request = post(service.url(u"/a/b%20c?d=%2Fe"_s), body);
                request.method = method;
                request.headers.emplaceBack("Authorization", "Bearer t");
                QVERIFY(exchange(client, std::move(request)));
                QCOMPARE(service.requests().size(), count);
                const auto& received = service.requests().last();
                QCOMPARE(received.method, method);
                QCOMPARE(received.path, "/a/b%20c");
                QCOMPARE(received.query, "d=%2Fe");
                QCOMPARE(received.header("Authorization"), "Bearer t");
                QCOMPARE(received.header("Content-Type"), "text/plain");
                QCOMPARE(received.header("Cookie"), QByteArray());
                QVERIFY(received.body == body);
            }
        }
    }

    void headerCannotSmuggleAnother() {
        LocalService service;
        HttpClient client(m_queue);
        auto request = post(service.url());
        request.headers.emplaceBack("Authorization", "Bearer key\r\nX-Other: 1");
        const auto response = exchange(client, std::move(request));
        QVERIFY(!response);
        QCOMPARE(response.error().description,
                 u"The Authorization header holds characters that cannot be sent"_s);
        QCOMPARE(service.connectionCount(), 0);
    }

    void openedConnectionIsTheOneUsed() {
        const Trust trust(m_serverConfiguration.localCertificateChain());
        for (const auto& scheme : {u"http"_s, u"https"_s}) {
            LocalService service(scheme == u"https" ? tlsListener(m_serverConfiguration)
                                                    : std::make_unique<QTcpServer>());
            const auto url = service.url({}, scheme);
            HttpClient client(m_queue);
            for (int round = 0; round < 3; ++round) {
                client.openConnection(url);
                QTRY_COMPARE(service.connectionCount(), 1);
                const auto response = exchange(client, post(url));
                QVERIFY2(response, response ? "" : qPrintable(response.error().description));
                QCOMPARE(service.connectionCount(), 1);
            }
        }
    }

    void untrustedServerGetsNoRequest() {
        LocalService service(tlsListener(m_serverConfiguration));
        HttpClient client(m_queue);
        const auto response = exchange(client, post(service.url({}, u"https"_s)));
        QVERIFY(!response);
        QVERIFY2(response.error().description.contains(u"self-signed"),
                 qPrintable(response.error().description));
        QCOMPARE(service.requests().size(), 0);
    }

    void slowUploadIsNoTimeOut() {
        // Reads the body in steps, each well within the time-out, all of them together beyond it.
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        connect(&server, &QTcpServer::newConnection, &server, [&] {
            auto* socket = server.nextPendingConnection();
            socket->setReadBufferSize(2'000'000);
            auto* timer = new QTimer(socket);
            auto left = std::make_shared<qint64>(80'000'000);
            connect(timer, &QTimer::timeout, socket, [socket, left] {
                *left -= socket->readAll().size();
                if (*left <= 0)
                    socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
            });
            timer->start(100);
        });
        HttpClient client(m_queue);
        const QUrl url(u"http://127.0.0.1:%1/"_s.arg(server.serverPort()));
        const auto response = exchange(client, post(url, QByteArray(80'000'000, 'b'), 2000ms));
        QVERIFY2(response, response ? "" : qPrintable(response.error().description));
    }

    void completionWaitsForTheQueue() {
        LocalService service;
        HttpClient client(m_queue);
        service.script({{}});
        bool called = false;
        auto hold = std::make_unique<MainQueue::Hold>(m_queue);
        client.send(post(service.url()), [&](const auto&) { called = true; });
        QTRY_COMPARE(service.requests().size(), 1);
        QTest::qWait(50);
        QVERIFY(!called);
        hold.reset();
        QTRY_VERIFY(called);
    }

    void completionIsDroppedWithTheClient() {
        LocalService service;
        service.script({{.ending = Ending::stall}});
        auto client = std::make_unique<HttpClient>(m_queue);
        const auto witness = std::make_shared<int>(0);
        client->send(post(service.url()), [witness](const auto&) { ++*witness; });
        QTRY_COMPARE(service.requests().size(), 1);
        client.reset();
        QTRY_COMPARE(witness.use_count(), 1);
        QCOMPARE(*witness, 0);
    }
};

QTEST_GUILESS_MAIN(HttpClientTest)
#include "tst_httpclient.moc"
