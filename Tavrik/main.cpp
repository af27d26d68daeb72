// The process entry.

#include "app/CommandLine.h"
#include "app/Program.h"
#include "platform/ApplicationInstance.h"
#include "platform/Platform.h"
#include "platform/PreferenceStore.h"

#include <QApplication>

#include <optional>

using namespace tavrik;

namespace {

int run(int& argc, char** argv, const QByteArrayList& urls) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName(QStringLiteral("io.nordvex.tavrik"));

    const auto instance = makeApplicationInstance();
    std::optional<Program> program;
    const bool first = instance->claim({
        .reopened = [&program](const QByteArray& token) { program->reopen(token); },
        .urlsOpened = [&program](const QByteArrayList& opened,
                                 const QByteArray& token) { program->open(opened, token); },
    });
    if (!first)
        return instance->forward(urls) ? exitDone : exitNot;

    program.emplace();
    program->start();
    if (!urls.isEmpty())
        program->open(urls, {});
    return QApplication::exec();
}

std::variant<ExitStatus, StartProgram> obey(const QByteArrayList& arguments) {
    QTextStream in(stdin);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return runCommandLine(arguments, &makePreferenceStore, {in, out, err});
}

} // namespace

int main(int argc, char* argv[]) {
    const auto command = obey(QByteArrayList(argv + 1, argv + argc));
    if (const auto* status = std::get_if<ExitStatus>(&command))
        return *status;

    // The running program says nothing; what concerns the user is shown to them.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return run(argc, argv, std::get<StartProgram>(command).urls);
}
