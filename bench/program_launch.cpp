// What the program costs when it starts and while it idles, beside the smallest Qt program with a tray icon.
// On a desktop with an XEmbed tray of its own:
//   VDESK_A11Y=0 tests/desktop/on-desktop program_launch TAVRIK SMALLEST-TRAY [rounds] [idle seconds]
// In a Wayland session, where neither icon nor hot key is seen from outside, only what it costs.

#include "Measure.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>

#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

using namespace tavrik::bench;
using namespace std::chrono_literals;

namespace {

constexpr xcb_keycode_t spaceKey = 65;

/// Sees from outside when a tray icon is there and when Alt+Space is taken.
class Display {
public:
    Display() {
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &events);
        xcb_flush(m_connection);
    }
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;
    ~Display() { xcb_disconnect(m_connection); }

    /// Whether a window has moved from the root into another since the last call: an icon into its tray.
    bool sawIcon() {
        bool saw = false;
        while (auto* event = xcb_poll_for_event(m_connection)) {
            if ((event->response_type & 0x7f) == XCB_REPARENT_NOTIFY)
                saw |= reinterpret_cast<xcb_reparent_notify_event_t*>(event)->parent != m_root;
            std::free(event);
        }
        return saw;
    }

    // The server is kept to itself meanwhile: the program must not meet this trial as a combination taken.
    bool hotKeyIsTaken() {
        xcb_grab_server(m_connection);
        const auto cookie = xcb_grab_key_checked(m_connection, 1, m_root, XCB_MOD_MASK_1, spaceKey,
                                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        auto* error = xcb_request_check(m_connection, cookie);
        if (!error)
            xcb_ungrab_key(m_connection, spaceKey, m_root, XCB_MOD_MASK_1);
        xcb_ungrab_server(m_connection);
        xcb_flush(m_connection);
        std::free(error);
        return error != nullptr;
    }

private:
    xcb_connection_t* m_connection = xcb_connect(nullptr, nullptr);
    xcb_window_t m_root = 0;
};

/// A number after the label, in the lines of a file of /proc.
qint64 number(const QString& path, const QString& label) {
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        return 0;
    const QRegularExpression line("^" + label + ":\\s+(\\d+)", QRegularExpression::MultilineOption);
    return line.match(QString::fromLatin1(file.readAll())).captured(1).toLongLong();
}

qint64 wakeUps(qint64 process) {
    qint64 sum = 0;
    const QString tasks = QString("/proc/%1/task").arg(process);
    for (const auto& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        sum += number(tasks + '/' + task + "/status", "voluntary_ctxt_switches");
    return sum;
}

struct Run {
    double icon = 0;
    double hotKey = 0;
    double privateKilobytes = 0;
    qint64 wakeUps = 0;
};

Run measure(Display& display, const QString& program, bool hasHotKey, std::chrono::seconds idle) {
    display.sawIcon();
    QProcess process;
    const auto start = Clock::now();
    process.start(program, {});
    std::optional<double> icon;
    std::optional<double> hotKey;
    if (isWayland())
        icon = 0;
    if (isWayland() || !hasHotKey)
        hotKey = 0;
    while (!icon || !hotKey) {
        if (!icon && display.sawIcon())
            icon = milliseconds(Clock::now() - start);
        // Each trial stops the server for a moment, and a program comes up the later for it.
        if (icon && !hotKey && display.hotKeyIsTaken())
            hotKey = milliseconds(Clock::now() - start);
        if (Clock::now() - start > 20s)
            qFatal("%s did not come up", qPrintable(program));
        QThread::usleep(500);
    }
    process.waitForStarted();
    QThread::sleep(3);
    Run run{.icon = *icon, .hotKey = *hotKey};
    run.privateKilobytes = static_cast<double>(
        number(QString("/proc/%1/smaps_rollup").arg(process.processId()), "Private_Dirty"));
    if (idle > 0s) {
        // The check for updates, a few seconds after the launch, is work and not idling.
        QThread::sleep(7);
        const auto before = wakeUps(process.processId());
        QThread::sleep(static_cast<unsigned long>(idle.count()));
        run.wakeUps = wakeUps(process.processId()) - before;
    }
    process.terminate();
    process.waitForFinished();
    return run;
}

} // namespace

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    if (arguments.size() < 3)
        qFatal("usage: program_launch TAVRIK SMALLEST-TRAY [rounds] [idle seconds]");
    const int rounds = arguments.size() > 3 ? std::max(1, arguments[3].toInt()) : 9;
    const std::chrono::seconds idle(arguments.size() > 4 ? arguments[4].toInt() : 60);

    // With a key of the user's own no window opens at the launch.
    QProcess preferences;
    preferences.start(arguments[1], {"preferences", "set", "openrouter_api_key", "-"});
    preferences.write("bench\n");
    preferences.closeWriteChannel();
    if (!preferences.waitForFinished() || preferences.exitCode() != 0)
        qFatal("the preferences cannot be set");

    Display display;
    measure(display, arguments[1], true, 0s);
    std::vector<double> ready;
    std::vector<double> floor;
    std::vector<double> ours;
    std::vector<double> smallest;
    for (int i = 0; i < rounds; ++i) {
        const Run program = measure(display, arguments[1], true, 0s);
        const Run tray = measure(display, arguments[2], false, 0s);
        ready.push_back(std::max(program.icon, program.hotKey));
        floor.push_back(tray.icon);
        ours.push_back(program.privateKilobytes);
        smallest.push_back(tray.privateKilobytes);
    }
    if (!isWayland())
        std::printf("exec to hot key registered and icon shown: %.1f ms (smallest tray program %.1f ms, "
                    "ratio %.2f; goal 1.4)\n",
                    median(ready), median(floor), median(ready) / median(floor));
    std::printf("idle, private dirty: %.0f kB (smallest tray program %.0f kB, ratio %.2f; goal 1.3)\n",
                median(ours), median(smallest), median(ours) / median(smallest));
    std::fflush(stdout);
    if (idle > 0s) {
        const auto ourWakeUps = measure(display, arguments[1], true, idle).wakeUps;
        const auto theirs = measure(display, arguments[2], false, idle).wakeUps;
        std::printf(
            "idle, wake-ups of all threads in %lld s: %lld (smallest tray program %lld; goal 0 of our own)\n",
            static_cast<long long>(idle.count()), static_cast<long long>(ourWakeUps),
            static_cast<long long>(theirs));
    }
}
