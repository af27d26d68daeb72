// How soon a launch knows who is signed in, and how soon a second one has handed a URL over and left.
// On a desktop with an unlocked keyring of its own:
//   tests/desktop/on-desktop account_launch TAVRIK [rounds]

#include "Measure.h"
#include "Programs.h"

#include <QCoreApplication>

#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

using namespace tavrik::bench;

namespace {

using SystemClock = std::chrono::system_clock;

/// From exec to the end, in milliseconds.
double run(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    return timed([&] {
        pid_t process = 0;
        int status = 0;
        if (posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
            waitpid(process, &status, 0) != process || status != 0)
            qFatal("%s failed", arguments[0]);
    });
}

/// The session bus, watched from outside.
class Bus {
public:
    Bus() {
        m_monitor.start("dbus-monitor", {"--profile", "member='GetSecrets'", "member='GetSecret'",
                                         "type='method_return'", "member='NameOwnerChanged'"});
        // It tells first of all that it has become a name itself.
        waitFor([](const QByteArrayList&) { return true; });
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;
    ~Bus() {
        m_monitor.kill();
        m_monitor.waitForFinished();
    }

    /// When the secrets service answered the next question for a secret.
    SystemClock::time_point secretDelivered() {
        const auto call = waitFor([](const QByteArrayList& message) {
            return message[0] == "mc" && message.last().startsWith("GetSecret");
        });
        const auto reply = waitFor([&](const QByteArrayList& message) {
            return message[0] == "mr" && message[4] == call[3] && message[5] == call[2];
        });
        return SystemClock::time_point(std::chrono::duration_cast<SystemClock::duration>(
            std::chrono::duration<double>(reply[1].toDouble())));
    }

private:
    QByteArrayList waitFor(const std::function<bool(const QByteArrayList&)>& isWanted) {
        for (;;) {
            while (!m_monitor.canReadLine()) {
                if (!m_monitor.waitForReadyRead(20000))
                    qFatal("the bus is silent");
            }
            const auto message = m_monitor.readLine().trimmed().split('\t');
            if (message.size() > 5 && isWanted(message))
                return message;
        }
    }

    QProcess m_monitor;
};

std::unique_ptr<QProcess> launch(const QString& program) {
    auto process = std::make_unique<QProcess>();
    process->start(program, {});
    return process;
}

void end(QProcess& process) {
    process.terminate();
    if (!process.waitForFinished())
        qFatal("the program does not end");
}

} // namespace

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.size() < 2)
        qFatal("usage: account_launch TAVRIK [rounds]");
    const auto& program = arguments[1];
    const int rounds = arguments.size() > 2 ? std::max(1, arguments[2].toInt()) : 15;
    storeSession();

    Bus bus;
    std::vector<double> known;
    for (int i = 0; i <= rounds; ++i) {
        const auto start = SystemClock::now();
        const auto process = launch(program);
        const auto delivered = bus.secretDelivered();
        // The first launch has the disk to wait for.
        if (i > 0)
            known.push_back(std::chrono::duration<double, std::milli>(delivered - start).count());
        end(*process);
    }
    std::printf("exec to the stored session delivered: %.1f ms (goal 60)\n", median(known));

    const auto running = launch(program);
    bus.secretDelivered();
    const std::string url = "tavrik://auth-callback";
    const double first = run({program.toStdString(), url});
    std::vector<double> forwarded;
    std::vector<double> peer;
    std::vector<double> floor;
    for (int i = 0; i < rounds; ++i) {
        forwarded.push_back(run({program.toStdString(), url}));
        peer.push_back(run({"busctl", "--user", "--quiet", "call", "io.nordvex.tavrik", "/io/nordvex/tavrik",
                            "org.freedesktop.Application", "Open", "asa{sv}", "1", url, "0"}));
        floor.push_back(run({"true"}));
    }
    std::printf(
        "second launch, URL handed over and gone: %.1f ms, %.1f where the window had yet to be built (goal "
        "15; busctl with the same call %.1f, an empty program %.1f)\n",
        median(forwarded), first, median(peer), median(floor));
    end(*running);
}
