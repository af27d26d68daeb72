// What the command line's library exports, for bin/tavrik.

#include "app/CommandLine.h"
#include "platform/ApplicationInstance.h"
#include "platform/CorePlatform.h"
#include "platform/Launcher.h"
#include "platform/PreferenceStore.h"

#include <QCoreApplication>
#include <QTextStream>

#include <variant>

using namespace tavrik;

namespace {

Command runCommand(const QByteArrayList& arguments) {
    QTextStream in(stdin);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return runCommandLine(arguments, &makePreferenceStore, {in, out, err});
}

} // namespace

/// Does what the arguments ask for; takes what main() does and returns the exit status.
extern "C" Q_DECL_EXPORT int tavrikCommand(int argc, char** argv) {
    const auto command = runCommand(QByteArrayList(argv + 1, argv + argc));
    if (const auto* status = std::get_if<ExitStatus>(&command))
        return *status;

    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    {
        // It must be gone before the program makes its own.
        const QCoreApplication application(argc, argv);
        if (const auto report = makeApplicationInstance()->askStatus()) {
            QTextStream(stdout) << report->text;
            return report->canDictate ? exitSuccess : exitFailure;
        }
    }
    const auto probe = loadEntry(TAVRIK_PROGRAM_LIBRARY, "tavrikProbe");
    if (probe)
        return (*probe)(1, argv);
    QTextStream(stderr) << "tavrik: the program cannot be loaded: " << probe.error() << '\n';
    return exitFailure;
}
