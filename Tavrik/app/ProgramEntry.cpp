// What the program's library exports, for bin/tavrik.

#include "app/Program.h"
#include "app/StatusReport.h"
#include "base/CommandStreams.h"
#include "base/MainQueue.h"
#include "platform/CorePlatform.h"
#include "platform/Launcher.h"
#include "platform/Microphone.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QTimer>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <utility>

using namespace tavrik;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// For when the process ends without returning from the event loop.
Program* runningProgram = nullptr;

void abandonProgram() {
    if (auto* program = std::exchange(runningProgram, nullptr))
        program->abandon();
}

/// Ends the process here. exit() would first take down objects that threads and Qt still use.
void endWithoutDisplay() {
    abandonProgram();
    std::_Exit(exitFailure);
}

void complain(const QString& sentence) {
    std::fprintf(stderr, "tavrik: %s\n", qUtf8Printable(sentence));
}

// The program says nothing, since what concerns the user is shown to them.
void handleMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    // Qt would abort.
    if (type == QtFatalMsg) {
        abandonProgram();
        complain(message.section(u'\n', 0, 0));
        std::_Exit(exitFailure);
    }
    // Qt's only notice that it is about to end the process.
    if (message.startsWith("The Wayland connection broke"_L1) ||
        message.startsWith("The X11 connection broke"_L1))
        endWithoutDisplay();
}

/// Makes the application object with one of Qt's platform plugins, and runs `main`.
int withApplication(char* name, QByteArray platformName, const std::function<int()>& main) {
    // Not in the environment, which every program started from here would inherit.
    char option[] = "-platform";
    std::array<char*, 4> arguments{name, &option[0], platformName.data(), nullptr};
    int count = arguments.size() - 1;
    const QApplication application(count, arguments.data());
    QApplication::setQuitOnLastWindowClosed(false);
    // What trays and assistive technology call it.
    QApplication::setApplicationName(u"Tavrik"_s);
    QGuiApplication::setDesktopFileName(u"io.nordvex.tavrik"_s);
    return main();
}

int run(std::span<char* const> urls) {
    const auto termination = onTermination(&QCoreApplication::quit);
    std::optional<Program> program;
    const ApplicationInstance::Handlers handlers{
        .launched = [&program](const QByteArray& token) { program->launchedFromMenu(token); },
        .reopened = [&program](const QByteArray& token) { program->reopen(token); },
        .urlsOpened = [&program](const QByteArrayList& opened,
                                 const QByteArray& token) { program->open(opened, token); },
        .status = [&program] { return reportStatus(program->services()); },
        .hotKeyCommand = [&program](HotKeyCommand command) { program->receive(command); },
    };
    auto instance = makeApplicationInstance();
    while (!instance->claim(handlers)) {
        const auto delivery = forwardLaunch(urls);
        if (delivery != Delivery::noneRuns)
            return delivery == Delivery::taken ? exitSuccess : exitFailure;
    }

    program.emplace();
    runningProgram = &*program;
    onDisplayLost(&endWithoutDisplay);
    program->start();
    if (!urls.empty())
        program->open(QByteArrayList(urls.begin(), urls.end()), {});
    const int status = QApplication::exec();
    runningProgram = nullptr;
    program->leave();
    // Whoever starts the program again need not wait until the keyring has answered.
    instance.reset();
    return status;
}

int probe() {
    MainQueue queue;
    const Platform platform(queue);
    platform.microphone->requestAccess();
    // Some services answer a little later.
    QTimer::singleShot(300ms, &QCoreApplication::quit);
    QApplication::exec();
    const auto report = reportStatus(platform.services());
    std::printf("Tavrik is not running; this was probed.\n%s", qUtf8Printable(report.text));
    return report.canDictate ? exitSuccess : exitFailure;
}

} // namespace

/// Runs the program until it ends. After the program's name the arguments are URLs to open.
extern "C" Q_DECL_EXPORT int tavrikRun(int argc, char** argv) {
    qInstallMessageHandler(&handleMessage);
    const auto platformName = qtPlatform();
    if (!platformName) {
        complain(platformName.error().description);
        return exitFailure;
    }
    return withApplication(argv[0], *platformName, [&] { return run({argv + 1, argv + argc}); });
}

/// Prints how the services of this desktop would serve the program; without a display too.
extern "C" Q_DECL_EXPORT int tavrikProbe(int, char** argv) {
    qInstallMessageHandler(&handleMessage);
    return withApplication(argv[0], qtPlatform().value_or("offscreen"), &probe);
}
