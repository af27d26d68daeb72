#include "mock-server/Http.h"
#include "mock-server/MockServer.h"
#include "mock-server/Script.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTextStream>

#include <sys/signalfd.h>

#include <csignal>
#include <cstdio>

using namespace tavrik;
using namespace tavrik::mock;
using namespace Qt::StringLiterals;

namespace {

/// Blocks SIGTERM and SIGINT and returns a descriptor that becomes readable when one arrives. To be called
/// before any thread is started.
int endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

int fail(const QString& message) {
    QTextStream(stderr) << "tavrik-mock-server: " << message << '\n';
    return EXIT_FAILURE;
}

Result<QList<ScriptedReply>> readScript(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(Error{file.errorString()});
    return parseScript(file.readAll());
}

/// Listens for HTTPS, or without a certificate for HTTP.
Result<std::unique_ptr<QTcpServer>> makeListener(const QString& certificate, const QString& key) {
    if (certificate.isEmpty() && key.isEmpty())
        return std::make_unique<QTcpServer>();
    QSslConfiguration configuration;
    configuration.setLocalCertificateChain(QSslCertificate::fromPath(certificate));
    QFile file(key);
    if (file.open(QIODevice::ReadOnly)) {
        const auto content = file.readAll();
        for (const auto algorithm : {QSsl::Rsa, QSsl::Ec}) {
            if (const QSslKey read(content, algorithm); !read.isNull())
                configuration.setPrivateKey(read);
        }
    }
    if (configuration.localCertificateChain().isEmpty() || configuration.privateKey().isNull())
        return std::unexpected(Error{u"HTTPS needs a certificate and its key, both PEM files"_s});
    auto listener = std::make_unique<QSslServer>();
    listener->setSslConfiguration(configuration);
    return listener;
}

} // namespace

int main(int argc, char** argv) {
    const int signals = endSignals();
    const QCoreApplication application(argc, argv);

    QCommandLineParser arguments;
    arguments.setApplicationDescription(
        u"A mock of the services Tavrik talks to, on this machine only. With OPENROUTER_API_KEY in its "
        u"environment it forwards recordings to the real service; without, it describes what it received."_s);
    arguments.addHelpOption();
    const QCommandLineOption port(u"port"_s, u"Port to listen on; 0 takes any."_s, u"number"_s, u"54321"_s);
    const QCommandLineOption upstream(u"upstream"_s,
                                      u"Scheme and host of the service to forward requests to."_s, u"URL"_s,
                                      u"https://openrouter.ai"_s);
    const QCommandLineOption control(
        u"control"_s, u"Serve /control to local programs: scripted replies, and the requests received."_s);
    const QCommandLineOption script(u"script"_s, u"Replies to give first, as JSON."_s, u"file"_s);
    const QCommandLineOption data(
        u"data"_s, u"Keep accounts here, and announce the release in its releases/version.json."_s,
        u"folder"_s);
    const QCommandLineOption tokenLifetime(u"token-lifetime"_s, u"How long an access token is valid."_s,
                                           u"seconds"_s, u"3600"_s);
    const QCommandLineOption confirmEmail(
        u"confirm-email"_s, u"New accounts are confirmed by a link, which the page /mail shows."_s);
    const QCommandLineOption host(
        u"host"_s, u"Answer to this name as well, where it leads to this machine. May be given again."_s,
        u"name"_s);
    const QCommandLineOption certificate(u"tls-certificate"_s, u"Serve HTTPS with this chain, as PEM."_s,
                                         u"file"_s);
    const QCommandLineOption key(u"tls-key"_s, u"The certificate's private key, as PEM."_s, u"file"_s);
    arguments.addOptions(
        {port, upstream, control, script, data, tokenLifetime, confirmEmail, host, certificate, key});
    arguments.process(application);

    bool isLifetime = false;
    const std::chrono::seconds lifetime(arguments.value(tokenLifetime).toUInt(&isLifetime));
    if (!isLifetime || lifetime.count() == 0)
        return fail(u"not a number of seconds: "_s + arguments.value(tokenLifetime));
    const auto folder = arguments.value(data);
    auto users = folder.isEmpty() ? Result<UserStore>(UserStore()) : UserStore::open(folder);
    if (!users)
        return fail(users.error().description);
    MockServer mockServer({
        .upstream = {.url = QUrl(arguments.value(upstream)), .key = qgetenv("OPENROUTER_API_KEY")},
        .accounts = {.users = std::move(*users),
                     .tokenLifetime = lifetime,
                     .confirmsEmail = arguments.isSet(confirmEmail)},
        .hosts = arguments.values(host),
        .releaseManifest = folder.isEmpty() ? QString() : folder + u"/releases/version.json"_s,
        .controllable = arguments.isSet(control),
    });
    if (arguments.isSet(script)) {
        const auto replies = readScript(arguments.value(script));
        if (!replies)
            return fail(replies.error().description);
        mockServer.addScript(*replies);
    }

    auto listener = makeListener(arguments.value(certificate), arguments.value(key));
    if (!listener)
        return fail(listener.error().description);
    HttpServer server(std::move(*listener), mockServer);
    bool isPort = false;
    const auto number = arguments.value(port).toUShort(&isPort);
    if (!isPort)
        return fail(u"not a port: "_s + arguments.value(port));
    if (!server.listen(number))
        return fail(server.errorString());
    QTextStream(stdout) << (arguments.isSet(certificate) ? "https" : "http")
                        << "://127.0.0.1:" << server.port() << Qt::endl;

    const QSocketNotifier ended(signals, QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}
