#include "app/CommandLine.h"

#include "base/AppVersion.h"
#include "base/UrlScheme.h"
#include "platform/PreferenceStore.h"
#include "preferences/PreferencesCommand.h"

namespace tavrik {

namespace {

constexpr auto help =
    R"(Tavrik: hold a shortcut anywhere, speak, let go, and the translation is pasted where you type.

Usage: tavrik [URL...]             start, or bring the running Tavrik forward
       tavrik preferences ACTION   read or change preferences
       tavrik --help               show this text
       tavrik --version            show the version

Preferences:
  tavrik preferences list             show all preferences and their values
  tavrik preferences get KEY          show one; the exit status is 1 when it is the default
  tavrik preferences set KEY VALUE    change one; VALUE - reads it from the standard input
  tavrik preferences unset KEY        go back to the default

A running Tavrik follows such a change at once. To use your own OpenRouter key, enter

  tavrik preferences set openrouter_api_key -

then type or paste the key and press Enter.
)";

ExitStatus complain(const CommandStreams& streams, const char* what, const QByteArray& argument) {
    streams.err << "tavrik: unknown " << what << " \"" << QString::fromLocal8Bit(argument)
                << "\"; tavrik --help shows what there is\n";
    return exitUsage;
}

} // namespace

std::variant<ExitStatus, StartProgram>
runCommandLine(const QByteArrayList& arguments,
               const std::function<std::unique_ptr<PreferenceStore>()>& makeStore,
               const CommandStreams& streams) {
    if (arguments.value(0) == "preferences") {
        QStringList rest;
        for (const auto& argument : arguments.sliced(1))
            rest.append(QString::fromLocal8Bit(argument));
        return runPreferencesCommand(rest, *makeStore(), streams);
    }
    for (const auto& argument : arguments) {
        if (argument == "--help" || argument == "-h") {
            streams.out << help;
            return exitDone;
        }
        if (argument == "--version") {
            streams.out << "Tavrik " << appVersion() << '\n';
            return exitDone;
        }
        if (argument.startsWith('-'))
            return complain(streams, "option", argument);
        if (!hasUrlScheme(argument.toStdString()))
            return complain(streams, "command", argument);
    }
    return StartProgram{arguments};
}

} // namespace tavrik
