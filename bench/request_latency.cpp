// From the last sample written to the last byte of the request at a server on this machine, for the program's
// own translator and for curl sending a body made beforehand.

#include "Measure.h"
#include "Programs.h"
#include "TestWav.h"
#include "account/Account.h"
#include "base/MainQueue.h"
#include "preferences/Settings.h"
#include "services/HttpClient.h"
#include "support/FakePlatform.h"
#include "translation/Translator.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

using namespace tavrik;
using namespace tavrik::bench;
using namespace std::chrono_literals;

namespace {

constexpr int rounds = 25;

/// The account of a user who has never signed in.
class SignedOutAccount : public Account {
public:
    bool isSignedIn() const override { return false; }
    void withValidAccessToken(Completion<QString>) override {}
};
const QString chatPath = QStringLiteral("/api/v1/chat/completions");

/// The server, and what it says about the requests it got.
class Server {
public:
    Server() : m_http(m_queue) {}

    QUrl url() const { return QUrl(m_backend + chatPath); }

    /// When the only request since the last call ended.
    Clock::time_point lastByte() {
        const auto requests = control("GET")[QStringLiteral("requests")].toArray();
        control("DELETE");
        if (requests.size() != 1)
            qFatal("%lld requests where there should be one", static_cast<long long>(requests.size()));
        return Clock::time_point(
            std::chrono::nanoseconds(requests[0][QStringLiteral("lastByteNs")].toInteger()));
    }

private:
    QJsonObject control(const QByteArray& method) {
        QJsonObject object;
        QEventLoop loop;
        m_http.send({.method = method, .url = QUrl(m_backend + QStringLiteral("/control/requests"))},
                    [&](const Result<HttpResponse>& response) {
                        if (response)
                            object = QJsonDocument::fromJson(response->body).object();
                        loop.quit();
                    });
        loop.exec();
        return object;
    }

    Process m_process;
    const QString m_backend =
        startBackend(m_process, QStringLiteral(TAVRIK_MOCK_SERVER_PROGRAM), {"--port", "0", "--control"});
    MainQueue m_queue;
    HttpClient m_http;
};

/// The program's translator, with a connection of its own.
class Dictation {
public:
    explicit Dictation(const QUrl& url)
        : m_settings(m_preferences), m_http(m_queue),
          m_translator(m_account, m_settings, m_http, m_queue, Supabase{}, url) {
        m_preferences.values[QStringLiteral("openrouter_api_key")] = QStringLiteral("bench");
    }

    /// As while the user speaks.
    void open() {
        m_translator.prepare();
        runFor(50ms);
    }

    void send(const QString& file) {
        QEventLoop loop;
        m_translator.translate(file, [&](const Result<QString>& text) {
            if (!text)
                qFatal("%s", qPrintable(text.error().description));
            loop.quit();
        });
        loop.exec();
    }

private:
    fake::Preferences m_preferences;
    Settings m_settings;
    SignedOutAccount m_account;
    MainQueue m_queue;
    HttpClient m_http;
    Translator m_translator;
};

void curl(const QUrl& url, const QString& body) {
    QProcess process;
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    process.start(QStringLiteral("curl"),
                  {QStringLiteral("-s"), QStringLiteral("-o"), QStringLiteral("/dev/null"),
                   QStringLiteral("-H"), QStringLiteral("Authorization: Bearer bench"), QStringLiteral("-H"),
                   QStringLiteral("Content-Type: application/json"), QStringLiteral("-H"),
                   QStringLiteral("Expect:"), QStringLiteral("--data-binary"), u'@' + body, url.toString()});
    loop.exec();
}

QString write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("%s", qPrintable(file.errorString()));
    return path;
}

/// Medians in one run, taking turns, so that a busy moment meets all of them.
void measure(Server& server, const QTemporaryDir& folder, int seconds) {
    const auto file = folder.filePath(QStringLiteral("take.wav"));
    const auto audio = wav(seconds);
    const auto body =
        write(folder.filePath(QStringLiteral("body.json")),
              R"({"model":"m","messages":[{"role":"user","content":[{"type":"text","text":"t"},)"
              R"({"type":"input_audio","input_audio":{"format":"wav","data":")" +
                  audio.toBase64() + "\"}}]}]}");
    const auto took = [&](const auto& send) {
        const auto start = Clock::now();
        send();
        return milliseconds(server.lastByte() - start);
    };

    std::vector<double> opened;
    std::vector<double> reused;
    std::vector<double> peer;
    Dictation lasting(server.url());
    write(file, audio);
    lasting.send(file);
    server.lastByte();
    for (int round = 0; round < rounds; ++round) {
        Dictation fresh(server.url());
        fresh.open();
        write(file, audio);
        opened.push_back(took([&] { fresh.send(file); }));
        runFor(20ms);
        write(file, audio);
        reused.push_back(took([&] { lasting.send(file); }));
        peer.push_back(took([&] { curl(server.url(), body); }));
    }
    const auto print = [&](const char* connection, const std::vector<double>& ours) {
        std::printf(
            "file written to last byte sent, %d s take, connection %s: %.2f ms (curl %.2f ms, ratio %.2f; "
            "goal 1)\n",
            seconds, connection, median(ours), median(peer), median(ours) / median(peer));
    };
    print("opened beforehand", opened);
    print("used before", reused);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    Server server;
    for (const int seconds : {5, 60})
        measure(server, folder, seconds);
}
