#include "backend/BackendProcess.h"
#include "backend/LocalService.h"
#include "base/HttpClient.h"
#include "base/MainQueue.h"
#include "support/Tls.h"

#include <QEventLoop>
#include <QFile>
#include <QSslServer>
#include <QTcpSocket>
#include <QTemporaryFile>
#include <QTest>
#include <QTimer>
#include <QtEndian>

using namespace tavrik;
using namespace tavrik::backend;
using namespace tavrik::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Ending = ScriptedReply::Ending;

Q_DECLARE_METATYPE(tavrik::backend::ScriptedReply)

namespace {

/// Long enough for any machine where an answer is to come, short where the time-out itself is meant.
constexpr auto patient = std::chrono::milliseconds(60s);
constexpr auto impatient = 300ms;

const QString cutOff = u"The server closed the connection before its reply was complete"_s;
const QString timedOut = u"The request timed out"_s;

HttpRequest post(const QUrl& url, const QByteArray& body = "body",
                 std::chrono::milliseconds timeout = patient) {
    return {.method = "POST",
            .url = url,
            .headers = {{"Content-Type", "text/plain"}},
            .body = body,
            .timeout = timeout};
}

/// One of this process's memory figures in MB.
qint64 memory(const QByteArray& figure) {
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const auto text = status.readAll();
    const auto line = text.sliced(text.indexOf(figure + ':') + figure.size() + 1);
    return line.first(line.indexOf("kB")).trimmed().toLongLong() / 1024;
}

bool forgetPeakMemory() {
    QFile file(u"/proc/self/clear_refs"_s);
    return file.open(QIODevice::WriteOnly) && file.write("5") == 1;
}

std::unique_ptr<QTcpServer> tlsListener(const QSslConfiguration& configuration) {
    auto listener = std::make_unique<QSslServer>();
    listener->setSslConfiguration(configuration);
    return listener;
}

/// Just enough HTTP/2 to answer the first request of a connection with 200 and to reset the connection after
/// the next.
class Http2Server {
public:
    explicit Http2Server(QSslConfiguration configuration) {
        configuration.setAllowedNextProtocols({QSslConfiguration::ALPNProtocolHTTP2});
        m_server.setSslConfiguration(configuration);
        QObject::connect(&m_server, &QTcpServer::pendingConnectionAvailable, &m_server, [this] {
            while (auto* socket = m_server.nextPendingConnection()) {
                ++m_connections;
                socket->write(frame(settings, 0, 0));
                auto input = std::make_shared<QByteArray>();
                auto served = std::make_shared<int>(0);
                const auto read = [this, socket, input, served] {
                    this->read(*socket, *input, *served);
                };
                QObject::connect(socket, &QTcpSocket::readyRead, socket, read);
                read();
            }
        });
        m_server.listen(QHostAddress::LocalHost);
    }

    QUrl url() const { return QUrl(u"https://127.0.0.1:%1/"_s.arg(m_server.serverPort())); }
    int connections() const { return m_connections; }
    int requests() const { return m_requests; }

private:
    static constexpr char data = 0;
    static constexpr char headers = 1;
    static constexpr char settings = 4;
    static constexpr char endOfStream = 1;
    static constexpr char endOfHeaders = 4;
    static constexpr qsizetype frameHeader = 9;

    static QByteArray frame(char type, char flags, quint32 stream, const QByteArray& payload = {}) {
        QByteArray result(frameHeader, 0);
        qToBigEndian(static_cast<quint32>(payload.size()) << 8, result.data());
        result[3] = type;
        result[4] = flags;
        qToBigEndian(stream, result.data() + 5);
        return result + payload;
    }

    void read(QTcpSocket& socket, QByteArray& input, int& served) {
        input += socket.readAll();
        static const QByteArray preface = "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n";
        if (input.startsWith("PRI") && input.size() >= preface.size())
            input.remove(0, preface.size());
        while (!input.startsWith("PRI") && input.size() >= frameHeader) {
            const auto length = static_cast<qsizetype>(qFromBigEndian<quint32>(input.constData()) >> 8);
            if (input.size() < frameHeader + length)
                return;
            const auto type = input[3];
            const auto flags = input[4];
            const auto stream = qFromBigEndian<quint32>(input.constData() + 5);
            input.remove(0, frameHeader + length);
            m_requests += int{type == headers};
            if ((type != headers && type != data) || !(flags & endOfStream))
                continue;
            if (++served > 1)
                return socket.abort();
            // 0x88 is ":status: 200" in the static table.
            socket.write(frame(headers, endOfStream | endOfHeaders, stream, "\x88"));
        }
    }

    QSslServer m_server;
    int m_connections = 0;
    int m_requests = 0;
};

} // namespace

class HttpClientTest : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    const Certificate m_certificate;
    const QSslConfiguration m_serverConfiguration = m_certificate.serverConfiguration();

    /// Sends and waits for the outcome, which must come exactly once and not within the call.
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
        QTest::addColumn<QByteArray>("body");
        const auto row = [](const char* name, const ScriptedReply& reply) {
            QTest::newRow(name) << reply << reply.reply.body;
        };
        row("200", {.reply = {.status = 200, .body = "yes"}});
        row("302", {.reply = {.status = 302, .headers = {{"Location", "/elsewhere"}}, .body = "moved"}});
        row("307", {.reply = {.status = 307, .headers = {{"Location", "/elsewhere"}}, .body = "moved"}});
        row("308, same place", {.reply = {.status = 308, .headers = {{"Location", "/"}}}});
        row("400", {.reply = {.status = 400, .body = "why"}});
        row("401 with a challenge",
            {.reply = {
                 .status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"x\""}}, .body = "who"}});
        row("407", {.reply = {.status = 407, .body = "proxy"}});
        row("503", {.reply = {.status = 503, .headers = {{"Retry-After", "1"}}, .body = "later"}});
        row("599", {.reply = {.status = 599, .body = "own"}});
        row("chunked", {.reply = {.body = "in pieces"}, .chunked = true});
        row("a byte at a time", {.reply = {.body = "slow"}, .chunked = true, .byteInterval = 1ms});
        row("ended by closing", {.reply = {.body = "until the end"}, .closeDelimited = true});
        row("delayed", {.reply = {.body = "later"}, .delay = 20ms});
        row("16 MB", {.reply = {.body = QByteArray(HttpClient::maximumBody, 'x')}});
    }
    void anyStatusIsAResponse() {
        QFETCH(ScriptedReply, reply);
        QFETCH(QByteArray, body);
        LocalService service;
        HttpClient client(m_queue);
        service.script({reply});
        const auto response = exchange(client, post(service.url()));
        QVERIFY2(response, response ? "" : qPrintable(response.error().description));
        QCOMPARE(response->status, reply.reply.status);
        QVERIFY(response->body == body);
        QVERIFY(!response->oversized);
        QCOMPARE(service.requests().size(), 1);
    }

    void noWholeResponseIsAnError_data() {
        QTest::addColumn<ScriptedReply>("reply");
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("timesOut");
        const auto row = [](const char* name, const ScriptedReply& reply, bool timesOut = false) {
            QTest::newRow(name) << reply << (timesOut ? timedOut : cutOff) << timesOut;
        };
        row("reset at the head", {.ending = Ending::Reset, .afterRequestBytes = 0});
        row("reset during the upload", {.ending = Ending::Reset, .afterRequestBytes = 100'000});
        row("reset after the request", {.ending = Ending::Reset});
        row("closed at the head", {.ending = Ending::Close, .afterRequestBytes = 0});
        row("closed after the request", {.ending = Ending::Close});
        row("closed after the reply's head", {.bodySize = 10, .ending = Ending::Close, .afterReplyBytes = 0});
        row("truncated", {.bodySize = 1000, .ending = Ending::Close, .afterReplyBytes = 999});
        row("truncated 500",
            {.reply = {.status = 500}, .bodySize = 1000, .ending = Ending::Close, .afterReplyBytes = 500});
        row("reset during the reply", {.bodySize = 1000, .ending = Ending::Reset, .afterReplyBytes = 500});
        row("stalls during the upload", {.ending = Ending::Stall, .afterRequestBytes = 100'000}, true);
        row("stalls after the request", {.ending = Ending::Stall}, true);
        row("stalls during the reply", {.bodySize = 1000, .ending = Ending::Stall, .afterReplyBytes = 10},
            true);
        row("never ends", {.bodySize = ScriptedReply::endless, .chunked = true, .byteInterval = 10ms}, true);
        row("never ends, no length",
            {.bodySize = ScriptedReply::endless, .closeDelimited = true, .byteInterval = 10ms}, true);
    }
    /// Also on a connection that has served before, where a request is most easily sent again unasked.
    void noWholeResponseIsAnError() {
        QFETCH(ScriptedReply, reply);
        QFETCH(QString, error);
        QFETCH(bool, timesOut);
        LocalService service;
        HttpClient client(m_queue);
        // More than the sockets hold, so that an upload can be caught on its way.
        const QByteArray body(20'000'000, 'b');
        for (const bool reused : {false, true}) {
            const auto before = service.requests().size();
            if (reused) {
                service.script({{.reply = {.body = "first"}}});
                QVERIFY(exchange(client, post(service.url())));
            }
            service.script({reply});
            const auto response = exchange(
                client, post(service.url(), body, timesOut ? std::chrono::milliseconds(impatient) : patient));
            QVERIFY(!response);
            QCOMPARE(response.error().description, error);
            QVERIFY(QTest::qWaitFor([&] { return service.requests().size() == before + 1 + int{reused}; }));
            if (reused)
                QCOMPARE(service.requests().last().connection, service.requests()[before].connection);
        }
        // A request sent again would be here by the time a later one is answered.
        service.script({{.reply = {.body = "last"}}});
        QVERIFY(exchange(client, post(service.url())));
        QCOMPARE(service.requests().size(), 4);
    }

    void http2RequestIsNotSentAgain() {
        const Trust trust(m_serverConfiguration.localCertificateChain());
        Http2Server server(m_serverConfiguration);
        HttpClient client(m_queue);
        const auto first = exchange(client, post(server.url()));
        QVERIFY2(first, first ? "" : qPrintable(first.error().description));
        QCOMPARE(first->status, 200);
        QVERIFY(!exchange(client, post(server.url())));
        QCOMPARE(server.connections(), 1);
        // A third request goes over a new connection; whatever was sent again would be counted before it.
        QVERIFY(exchange(client, post(server.url())));
        QCOMPARE(server.requests(), 3);
    }

    void noConnectionIsAnError_data() {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<QString>("error");
        QTcpServer closed;
        closed.listen(QHostAddress::LocalHost);
        const auto port = closed.serverPort();
        closed.close();
        QTest::newRow("refused") << QUrl(u"http://127.0.0.1:%1/?secret"_s.arg(port))
                                 << u"Connection refused"_s;
        QTest::newRow("no such host")
            << QUrl(u"http://nowhere.invalid/?secret"_s) << u"Host nowhere.invalid not found"_s;
    }
    void noConnectionIsAnError() {
        QFETCH(QUrl, url);
        QFETCH(QString, error);
        HttpClient client(m_queue);
        const auto response = exchange(client, post(url));
        QVERIFY(!response);
        QCOMPARE(response.error().description, error);
    }

    void bodyBeyondTheLimitIsNotKept_data() {
        QTest::addColumn<QByteArray>("script");
        QTest::newRow("one byte more") << QByteArray(R"("bodySize": 16777217)");
        QTest::newRow("one byte more in chunks") << QByteArray(R"("bodySize": 16777217, "chunked": true)");
        QTest::newRow("without end") << QByteArray(R"("bodySize": "endless", "chunked": true)");
        QTest::newRow("without end or chunks")
            << QByteArray(R"("bodySize": "endless", "closeDelimited": true)");
    }
    void bodyBeyondTheLimitIsNotKept() {
        QFETCH(QByteArray, script);
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(R"([{"status": 500, )" + script + "}]");
        file.close();
        // A process of its own: what it sends from must not count here.
        const BackendProcess backend({u"--script"_s, file.fileName()});
        HttpClient client(m_queue);
        QVERIFY(forgetPeakMemory());
        const auto before = memory("VmRSS");
        const auto response = exchange(client, post(backend.url()));
        QVERIFY2(response, response ? "" : qPrintable(response.error().description));
        QCOMPARE(response->status, 500);
        QVERIFY(response->oversized);
        QVERIFY(response->body.isEmpty());
        const auto taken = memory("VmHWM") - before;
        // The network thread may have run ahead of this one for a moment.
        QVERIFY2(taken < 500, qPrintable(u"%1 MB"_s.arg(taken)));
    }

    void requestArrivesAsItIs_data() {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<int>("size");
        QTest::newRow("GET") << QByteArray("GET") << 0;
        QTest::newRow("DELETE") << QByteArray("DELETE") << 0;
        for (const int size : {0, 1, 16383, 16384, 16385, 5'000'000})
            QTest::addRow("POST %d", size) << QByteArray("POST") << size;
    }
    void requestArrivesAsItIs() {
        QFETCH(QByteArray, method);
        QFETCH(int, size);
        QByteArray body(size, 0);
        for (int i = 0; i < size; ++i)
            body[i] = static_cast<char>(i * 7 + i / 251);
        LocalService service;
        HttpClient client(m_queue);
        // The first reply sets a cookie, which the second request must not bring back.
        service.script(
            {{.reply = {.status = 401, .headers = {{"Set-Cookie", "a=b"}}}}, {.reply = {.status = 200}}});
        for (const int count : {1, 2}) {
            auto request = post(service.url(u"/a/b%20c?d=%2Fe"_s), body);
            request.method = method;
            if (method != "POST")
                request.body.reset();
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

    void openedConnectionIsTheOneUsed_data() {
        QTest::addColumn<bool>("encrypted");
        QTest::newRow("plain") << false;
        QTest::newRow("TLS") << true;
    }
    void openedConnectionIsTheOneUsed() {
        QFETCH(bool, encrypted);
        const Trust trust(m_serverConfiguration.localCertificateChain());
        LocalService service(encrypted ? tlsListener(m_serverConfiguration) : std::make_unique<QTcpServer>());
        const auto url = service.url({}, encrypted ? u"https"_s : u"http"_s);
        HttpClient client(m_queue);
        for (int round = 0; round < 3; ++round) {
            client.openConnection(url);
            QTRY_COMPARE(service.connectionCount(), 1);
            const auto response = exchange(client, post(url));
            QVERIFY2(response, response ? "" : qPrintable(response.error().description));
            QCOMPARE(service.connectionCount(), 1);
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
        // Takes the body in steps, each well within the time-out, all of them together beyond it.
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
        service.script({{.ending = Ending::Stall}});
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
