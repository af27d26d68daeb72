// Dictations of a signed-in user with the real program, its backend a round trip of 50 ms away over TLS: from
// the release of the keys to the request's first and last byte at the server. The connection is opened while
// the user speaks. As root, on a desktop of its own:
//   tests/desktop/on-desktop far_backend TAVRIK-FAR TAVRIK-BACKEND PORT [launches]

#include "Distance.h"
#include "Keyboard.h"
#include "Measure.h"
#include "Programs.h"
#include "support/Tls.h"

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>

using namespace tavrik;
using namespace tavrik::bench;
using namespace std::chrono_literals;

namespace {

constexpr auto roundTrip = 50ms;
constexpr int laterDictations = 2;

/// Puts the certificate in the place of all authorities, for this process and those it starts.
void trustOnly(const test::Certificate& certificate, const QTemporaryDir& folder) {
    const auto authority = folder.filePath("authority.pem");
    if (!QFile::copy(certificate.file(), authority))
        qFatal("no certificate");
    run("openssl", {"rehash", folder.path()});
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount(folder.path().toLocal8Bit().constData(), "/etc/ssl/certs", nullptr, MS_BIND, nullptr) != 0)
        qFatal("the authorities cannot be replaced");
}

class Backend {
public:
    Backend(const Distance& distance, const QString& program, const QString& port,
            const test::Certificate& certificate)
        : m_distance(distance) {
        m_distance.goFar();
        m_url = startBackend(m_process, program,
                             {"--port", port, "--control", "--tls-certificate", certificate.file(),
                              "--tls-key", certificate.keyFile()});
        m_distance.goNear();
    }

    void willTranslate() {
        control(
            {"--header", "Content-Type: application/json", "--data-binary", "@-", m_url + "/control/replies"},
            R"([{"path": "/functions/v1/translate", "body": "{\"text\": \"A fine day.\"}"}])");
        control({"--request", "DELETE", m_url + "/control/requests"});
    }

    struct Arrival {
        double firstByte, lastByte; // ms of the clock that the program's user has too
    };

    /// Of the one request since then.
    Arrival arrival() {
        QJsonArray requests;
        const bool came = QTest::qWaitFor(
            [&] {
                requests = QJsonDocument::fromJson(control({m_url + "/control/requests"}))
                               .object()
                               .value("requests")
                               .toArray();
                return !requests.isEmpty();
            },
            20000);
        if (!came || requests.size() != 1)
            qFatal("%d requests where there should be one", static_cast<int>(requests.size()));
        const auto request = requests[0].toObject();
        return {static_cast<double>(request.value("firstByteNs").toInteger()) / 1e6,
                static_cast<double>(request.value("lastByteNs").toInteger()) / 1e6};
    }

private:
    /// From beside the backend, so that the line is the program's alone.
    QByteArray control(const QStringList& arguments, const QByteArray& input = {}) {
        m_distance.goFar();
        const auto reply = run("curl", QStringList{"-sSk"} + arguments, input);
        m_distance.goNear();
        return reply;
    }

    const Distance& m_distance;
    Process m_process;
    QString m_url;
};

struct Times {
    std::vector<double> firstByte, lastByte;
};

void dictate(Backend& backend, Times& times) {
    backend.willTranslate();
    HotKeyHold hold;
    hold.press();
    speak();
    hold.release();
    const double released = now();
    const auto arrival = backend.arrival();
    times.firstByte.push_back(arrival.firstByte - released);
    times.lastByte.push_back(arrival.lastByte - released);
    // The reply has the way back before it, and is then pasted.
    QTest::qWait(300);
}

} // namespace

int main(int argc, char* argv[]) {
    if (::geteuid() != 0) {
        std::puts("NOT RUN: only root can make a distant network");
        return EXIT_SUCCESS;
    }
    const QGuiApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.size() < 4)
        qFatal("usage: far_backend TAVRIK-FAR TAVRIK-BACKEND PORT [launches]");
    const int launches = arguments.size() > 4 ? std::max(1, arguments[4].toInt()) : 9;

    const test::Certificate certificate;
    const QTemporaryDir authorities;
    storeSession();
    trustOnly(certificate, authorities);
    const Distance distance(roundTrip);
    Backend backend(distance, arguments[2], arguments[3], certificate);

    Times first;
    Times later;
    for (int i = 0; i < launches; ++i) {
        Process program;
        startTavrik(program, arguments[1]);
        dictate(backend, first);
        for (int j = 0; j < laterDictations; ++j)
            dictate(backend, later);
    }
    const auto print = [](const char* which, const Times& times) {
        std::printf("release to the request's first byte at a server 25 ms away, %s: %.1f ms, at most %.1f "
                    "(goal 35); to its last byte: %.1f ms, at most %.1f\n",
                    which, median(times.firstByte), worst(times.firstByte), median(times.lastByte),
                    worst(times.lastByte));
    };
    print("first dictation", first);
    print("later ones", later);
}
