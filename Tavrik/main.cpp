// The process entry. Nearly always Tavrik runs already and is only to be told something: that must not wait
// for the libraries whose loading takes most of a launch.

#include "app/CommandLine.h"
#include "platform/ApplicationInstance.h"
#include "platform/CorePlatform.h"
#include "platform/PreferenceStore.h"

#include <QCoreApplication>
#include <QTextStream>

#include <algorithm>
#include <chrono>
#include <optional>

using namespace tavrik;

namespace {

Command runCommand(const QByteArrayList& arguments) {
    QTextStream in(stdin);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return runCommandLine(arguments, &makePreferenceStore, {in, out, err});
}

int runProgram(const char* entry, int argc, char* argv[]) {
    const auto program = loadProgram(entry);
    if (program)
        return (*program)(argc, argv);
    QTextStream(stderr) << "tavrik: the program cannot be loaded: " << program.error().description << '\n';
    return exitFailure;
}

} // namespace

int main(int argc, char* argv[]) {
    const auto startTime = std::chrono::steady_clock::now();
    const auto command = runCommand(QByteArrayList(argv + std::min(argc, 1), argv + argc));
    if (const auto* status = std::get_if<ExitStatus>(&command))
        return *status;

    // The running program says nothing; what concerns the user is shown to them.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    // It must be gone before the program makes its own.
    std::optional<QCoreApplication> application(std::in_place, argc, argv);
    const auto running = makeApplicationInstance();
    if (std::holds_alternative<ShowStatus>(command)) {
        if (const auto report = running->askStatus()) {
            QTextStream(stdout) << report->text;
            return report->canDictate ? exitSuccess : exitFailure;
        }
        application.reset();
        return runProgram("tavrikProbe", 1, argv);
    }

    if (const auto* hotKey = std::get_if<SendHotKeyCommand>(&command)) {
        const auto sent = running->send({hotKey->kind, startTime});
        if (sent)
            return exitSuccess;
        QTextStream(stderr) << "tavrik: " << sent.error().description << '\n';
        return exitFailure;
    }

    const auto urls = std::get<StartProgram>(command).urls;
    if (running->forward(urls))
        return exitSuccess;
    application.reset();
    // The program is given its name and the URLs.
    char** const rest = argv + argc - urls.size() - 1;
    rest[0] = argv[0];
    return runProgram("tavrikRun", static_cast<int>(urls.size()) + 1, rest);
}
