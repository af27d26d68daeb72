// What the command line's library exports, for bin/tavrik. Nearly always Tavrik runs already and is only to
// be told something: that must not wait for the libraries whose loading takes most of a launch.

#include "app/CommandLine.h"
#include "platform/ApplicationInstance.h"
#include "platform/CorePlatform.h"
#include "platform/Launcher.h"
#include "platform/PreferenceStore.h"

#include <QCoreApplication>
#include <QTextStream>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

using namespace tavrik;

namespace {

Command runCommand(const QByteArrayList& arguments) {
    QTextStream in(stdin);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return runCommandLine(arguments, &makePreferenceStore, {in, out, err});
}

int runProgram(const char* entry, int argc, char* argv[]) {
    const auto program = loadEntry(TAVRIK_PROGRAM_LIBRARY, entry);
    if (program)
        return (*program)(argc, argv);
    QTextStream(stderr) << "tavrik: the program cannot be loaded: " << program.error() << '\n';
    return exitFailure;
}

/// Everybody may read the arguments of a process as long as it lives, and a callback URL holds tokens.
void wipe(std::span<char* const> arguments) {
    for (auto* argument : arguments)
        std::fill_n(argument, std::strlen(argument), '\0');
}

} // namespace

/// Does what the arguments ask for; takes what main() does and returns the exit status.
extern "C" Q_DECL_EXPORT int tavrikCommand(int argc, char** argv) {
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

    auto urls = std::get<StartProgram>(command).urls;
    wipe({argv + argc - urls.size(), argv + argc});
    switch (running->forward(urls)) {
    case ApplicationInstance::Forwarded::taken:
        return exitSuccess;
    case ApplicationInstance::Forwarded::notAnswered:
        QTextStream(stderr) << "tavrik: Tavrik is running, and does not answer.\n";
        return exitFailure;
    case ApplicationInstance::Forwarded::noneRuns:
        break;
    }
    application.reset();
    std::vector<char*> arguments{argv[0]};
    for (auto& url : urls)
        arguments.push_back(url.data());
    return runProgram("tavrikRun", static_cast<int>(arguments.size()), arguments.data());
}
