#include "backend/HttpServer.h"
#include "backend/StandIn.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QTextStream>

#include <sys/signalfd.h>

#include <csignal>
#include <cstdio>

using namespace tavrik;
using namespace tavrik::backend;
using namespace Qt::StringLiterals;

namespace {

/// Blocks the signals that ask a program to end and turns them into an orderly one. Before any thread is
/// started.
int endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

int fail(const QString& message) {
    QTextStream(stderr) << "tavrik-backend: " << message << '\n';
    return EXIT_FAILURE;
}

Result<QList<ScriptedReply>> readScript(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(Error{file.errorString()});
    return parseScript(file.readAll());
}

} // namespace

int main(int argc, char** argv) {
    const int signals = endSignals();
    const QCoreApplication application(argc, argv);

    QCommandLineParser arguments;
    arguments.setApplicationDescription(
        u"A stand-in for the services Tavrik talks to, on this machine only. With OPENROUTER_API_KEY in its "
        u"environment it passes recordings on to the real service; without, it answers with what it "
        u"received."_s);
    arguments.addHelpOption();
    const QCommandLineOption port(u"port"_s, u"Port to listen on; 0 takes any."_s, u"number"_s, u"54321"_s);
    const QCommandLineOption upstream(u"upstream"_s,
                                      u"Scheme and host of the service to pass requests on to."_s, u"URL"_s,
                                      u"https://openrouter.ai"_s);
    const QCommandLineOption control(
        u"control"_s, u"Serve /control to local programs: scripted replies, and the requests received."_s);
    const QCommandLineOption script(u"script"_s, u"Replies to give first, as JSON."_s, u"file"_s);
    arguments.addOptions({port, upstream, control, script});
    arguments.process(application);

    StandIn standIn(
        {.upstream = {.url = QUrl(arguments.value(upstream)), .key = qgetenv("OPENROUTER_API_KEY")},
         .controllable = arguments.isSet(control)});
    if (arguments.isSet(script)) {
        const auto replies = readScript(arguments.value(script));
        if (!replies)
            return fail(replies.error().description);
        standIn.addScript(*replies);
    }

    HttpServer server(std::make_unique<QTcpServer>(), standIn);
    bool isPort = false;
    const auto number = arguments.value(port).toUShort(&isPort);
    if (!isPort)
        return fail(u"not a port: "_s + arguments.value(port));
    if (!server.listen(number))
        return fail(server.errorString());
    QTextStream(stdout) << "http://127.0.0.1:" << server.port() << Qt::endl;

    const QSocketNotifier ended(signals, QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}
