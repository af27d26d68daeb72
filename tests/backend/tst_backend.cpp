#include "backend/BackendProcess.h"
#include "backend/LocalService.h"
#include "backend/Wav.h"
#include "backend/WavFile.h"

#include <QJsonDocument>
#include <QTcpSocket>
#include <QTest>

using namespace tavrik;
using namespace tavrik::backend;
using namespace tavrik::test;
using namespace Qt::StringLiterals;

namespace {

const QByteArray chatPath = "/api/v1/chat/completions";
const QByteArray usual = "Authorization: Bearer k\r\nContent-Type: application/json\r\n";
const QByteArray closing = "Connection: close\r\n";

QByteArray chatBody(const QByteArray& data, const QByteArray& prompt = "native-sounding German. Preserve it",
                    const QByteArray& format = "wav") {
    return R"({"model":"m","temperature":0.2,"messages":[{"role":"user","content":[{"type":"text","text":")" +
           prompt + R"("},{"type":"input_audio","input_audio":{"data":")" + data + R"(","format":")" +
           format + R"("}}]}]})";
}

QByteArray chatBody(double seconds) {
    return chatBody(wav(seconds).toBase64());
}

QByteArray post(const QByteArray& path, const QByteArray& body, const QByteArray& headers = usual) {
    return "POST " + path +
           " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" +
           headers + "\r\n" + body;
}

QByteArray get(const QByteArray& path) {
    return "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
}

/// Sends bytes as they are and reads until the reply contains `end`, or the connection has ended.
QByteArray talk(const QUrl& server, const QByteArray& bytes, const QByteArray& end = {}) {
    QTcpSocket socket;
    QByteArray reply;
    QObject::connect(&socket, &QTcpSocket::readyRead, [&] { reply += socket.readAll(); });
    socket.connectToHost(server.host(), static_cast<quint16>(server.port()));
    socket.write(bytes);
    const auto done = [&] {
        return end.isEmpty() ? socket.state() == QAbstractSocket::UnconnectedState : reply.contains(end);
    };
    return QTest::qWaitFor(done, 30000) ? reply : "nothing: " + reply;
}

int status(const QByteArray& reply) {
    return reply.startsWith("HTTP/1.1 ") ? reply.sliced(9, 3).toInt() : 0;
}

QJsonObject bodyOf(const QByteArray& reply) {
    return QJsonDocument::fromJson(reply.sliced(reply.indexOf("\r\n\r\n") + 4)).object();
}

QString content(const QByteArray& reply) {
    return bodyOf(reply)[u"choices"_s][0][u"message"_s][u"content"_s].toString();
}

} // namespace

class BackendTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statesWhatItReceived_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const QByteArray& body, const char* expected) {
            QTest::newRow(name) << body << u"Offline stand-in: received "_s + QString::fromUtf8(expected);
        };
        row("tone", chatBody(wav(3.2, 2320).toBase64()), "3.2 seconds of audio at -23 dBFS for German.");
        row("full scale", chatBody(wav(0.5, 32767).toBase64()), "0.5 seconds of audio at 0 dBFS for German.");
        row("silence", chatBody(wav(60, 0).toBase64()), "60.0 seconds of silence for German.");
        row("no samples", chatBody(wav(0).toBase64()), "0.0 seconds of silence for German.");
        row("another language", chatBody(wav(1).toBase64(), "native-sounding Old Norse. Preserve it"),
            "1.0 seconds of audio at -30 dBFS for Old Norse.");
    }
    void statesWhatItReceived() {
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        const LocalService service;
        const auto reply = talk(service.url(), post(chatPath, body, usual + closing));
        QCOMPARE(status(reply), 200);
        QCOMPARE(content(reply), expected);
    }

    void refusesWhatTheServiceWould_data() {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("expected");
        const auto good = chatBody(0.1);
        const auto row = [&](const char* name, int expected, const QByteArray& body,
                             const QByteArray& headers = usual) {
            QTest::newRow(name) << post(chatPath, body, headers + closing) << expected;
        };
        const QByteArray json = "Content-Type: application/json\r\n";
        row("no authorization", 401, good, json);
        row("no content type", 415, good, "Authorization: Bearer k\r\n");
        row("charset", 200, good,
            "Authorization: Bearer k\r\nContent-Type: application/json; charset=utf-8\r\n");
        row("no JSON", 400, "x");
        row("no model", 400, QByteArray(good).replace(R"("model":"m")", R"("model":"")"));
        row("odd temperature", 400, QByteArray(good).replace("0.2", "\"0.2\""));
        row("another format", 400, chatBody(wav(0.1).toBase64(), "p", "mp3"));
        row("no base64", 400, chatBody("!!!!"));
        row("no WAV", 400, chatBody(QByteArray("hello").toBase64()));
        QTest::newRow("another path") << post("/api/v1/other", good, usual + closing) << 404;
        QTest::newRow("control, not asked for") << get("/control/requests") << 404;
        QTest::newRow("no request line") << QByteArray("hello\r\n\r\n") << 400;
        QTest::newRow("bad length") << QByteArray("POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n") << 400;
        QTest::newRow("chunked") << QByteArray("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n")
                                 << 501;
        QTest::newRow("too long") << QByteArray("POST / HTTP/1.1\r\nContent-Length: 268435457\r\n\r\n")
                                  << 413;
        QTest::newRow("endless head") << "GET / HTTP/1.1\r\nX: " + QByteArray(100'000, 'x') << 400;
    }
    void refusesWhatTheServiceWould() {
        QFETCH(QByteArray, request);
        QFETCH(int, expected);
        StandIn standIn({});
        HttpServer server(std::make_unique<QTcpServer>(), standIn);
        QVERIFY(server.listen());
        const auto reply = talk(QUrl(u"http://127.0.0.1:%1"_s.arg(server.port())), request);
        QCOMPARE(status(reply), expected);
        if (request.contains(chatPath) && expected != 200) {
            QCOMPARE(bodyOf(reply)[u"error"_s][u"code"_s].toInt(), expected);
            QVERIFY(!bodyOf(reply)[u"error"_s][u"message"_s].toString().isEmpty());
        }
    }

    void measuresOnlyValidWav_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<double>("duration");
        const auto good = wav(0.5);
        const auto changed = [&](qsizetype position, const QByteArray& bytes) {
            return QByteArray(good).replace(position, bytes.size(), bytes);
        };
        QTest::newRow("good") << good << 0.5;
        QTest::newRow("odd chunk before the samples")
            << QByteArray(good).insert(36, QByteArray("LIST\x03\0\0\0abc\0", 12)) << 0.5;
        QTest::newRow("cut short") << good.chopped(1) << -1.0;
        QTest::newRow("length never filled in") << changed(40, "\xff\xff\xff\xff") << -1.0;
        QTest::newRow("float") << changed(20, "\x03") << -1.0;
        QTest::newRow("samples before format")
            << good.first(12) + good.sliced(36) + good.sliced(12, 24) << -1.0;
    }
    void measuresOnlyValidWav() {
        QFETCH(QByteArray, file);
        QFETCH(double, duration);
        const auto sound = measureWav(file);
        QCOMPARE(sound ? sound->duration : -1, duration);
    }

    void oneConnectionServesMany() {
        LocalService service;
        // Two at once, cut at an awkward place, and one that waits to be told to go on.
        const auto request = post(chatPath, chatBody(0.1));
        QTcpSocket socket;
        QByteArray replies;
        connect(&socket, &QTcpSocket::readyRead, this, [&] { replies += socket.readAll(); });
        socket.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(service.url().port()));
        socket.write(request + request.first(20));
        QTRY_COMPARE(replies.count("HTTP/1.1 200"), 1);
        socket.write(request.sliced(20));
        QTRY_COMPARE(replies.count("HTTP/1.1 200"), 2);
        socket.write(post(chatPath, "", "Expect: 100-continue\r\n").replace("Length: 0", "Length: 2"));
        QTRY_VERIFY(replies.contains("HTTP/1.1 100 Continue\r\n\r\n"));
        socket.write("{}");
        QTRY_COMPARE(replies.count("HTTP/1.1 401"), 1);
        QCOMPARE(service.connectionCount(), 1);
        QCOMPARE(service.requests().size(), 3);
        QVERIFY(service.requests()[0].firstByte <= service.requests()[0].lastByte);
    }

    void programSaysWhereItIsAndEndsInOrder() {
        BackendProcess backend;
        QVERIFY2(backend.line().startsWith("http://127.0.0.1:"), backend.line().constData());
        QCOMPARE(backend.line().count('\n'), 1);
        QTcpSocket elsewhere;
        elsewhere.connectToHost(u"127.0.0.2"_s, static_cast<quint16>(backend.url().port()));
        QVERIFY(!elsewhere.waitForConnected());

        QVERIFY2(content(talk(backend.url(), post(chatPath, chatBody(0.5), usual + closing)))
                     .startsWith(u"Offline"),
                 "an answer");
        QCOMPARE(backend.stop(), 0);
        QCOMPARE(backend.rest(), QByteArray());
    }

    void programRefusesWrongArguments() {
        for (const auto& arguments : {u"--port 70000"_s, u"--script /nowhere"_s, u"--nonsense"_s}) {
            QProcess process;
            process.start(QStringLiteral(TAVRIK_BACKEND_PROGRAM), arguments.split(u' '));
            QVERIFY(process.waitForFinished());
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            QCOMPARE(process.exitCode(), 1);
            QVERIFY(process.readAllStandardOutput().isEmpty());
            QVERIFY(!process.readAllStandardError().isEmpty());
        }
    }

    void passesOnWithItsOwnKey() {
        const QByteArray key = "sk-real-key";
        BackendProcess upstream({u"--control"_s});
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"OPENROUTER_API_KEY"_s, QString::fromLatin1(key));
        BackendProcess backend({u"--upstream"_s, upstream.url().toString()}, environment);

        const auto body = chatBody(1.5);
        const auto reply = talk(backend.url(), post(chatPath, body, usual + closing));
        QCOMPARE(status(reply), 200);
        QVERIFY(content(reply).contains(u"1.5 seconds"));
        const auto received = bodyOf(talk(upstream.url(), get("/control/requests")));
        const auto request = received[u"requests"_s][0];
        QCOMPARE(request[u"headers"_s][u"Authorization"_s].toString(), QString::fromLatin1("Bearer " + key));
        QVERIFY(talk(upstream.url(), get("/control/body")).endsWith(body));

        // Its refusals and its absence are passed on too; what is wrong by itself is not.
        talk(upstream.url(), post("/control/replies",
                                  R"([{"status":402,"body":{"error":{"message":"No credit"}}}])", closing));
        const auto refused = talk(backend.url(), post(chatPath, body, usual + closing));
        QCOMPARE(status(refused), 402);
        QCOMPARE(bodyOf(refused)[u"error"_s][u"message"_s].toString(), u"No credit"_s);
        QCOMPARE(status(talk(backend.url(), post(chatPath, "{}", usual + closing))), 400);
        QCOMPARE(upstream.stop(), 0);
        QCOMPARE(status(talk(backend.url(), post(chatPath, body, usual + closing))), 502);

        QCOMPARE(backend.stop(), 0);
        QVERIFY(!backend.rest().contains(key));
    }

    void scriptIsReadStrictly() {
        QVERIFY(parseScript(
            R"([{"path":"/x","status":500,"headers":{"A":"b"},"body":{"a":1},"chunked":true,)"
            R"("closeDelimited":false,"delayMs":1,"byteIntervalMs":2,"ending":"reset",)"
            R"("afterRequestBytes":3,"afterReplyBytes":4},{"bodyBase64":"AAE="},{"bodySize":"endless"}])"));
        for (const auto* const script : {"{}", "x", R"([{"delayMS":1}])", R"([{"ending":"explode"}])",
                                         R"([{"bodySize":-1}])", R"([{"status":"500"}])"})
            QVERIFY2(!parseScript(script), script);
    }
};

QTEST_GUILESS_MAIN(BackendTest)
#include "tst_backend.moc"
