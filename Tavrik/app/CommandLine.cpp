#include "app/CommandLine.h"

#include "base/AppVersion.h"
#include "base/UrlScheme.h"
#include "platform/PreferenceStore.h"
#include "preferences/PreferencesCommand.h"

#include <QCommandLineParser>
#include <QString>

#include <algorithm>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

constexpr auto help =
    R"(Tavrik: hold a shortcut anywhere, speak, let go, and the translation is pasted where you type.

Usage: tavrik [URL...]             start, or bring the running Tavrik forward
       tavrik preferences ACTION   read or change preferences
       tavrik press | release | toggle
                                   begin and end a dictation, for key bindings of your own
       tavrik status               show what works on this desktop, and why the rest does not
       tavrik --help               show this text
       tavrik --version            show the version

Key bindings, where the desktop gives programs no shortcut:
  bind tavrik press to a key going down and tavrik release to it going up,
  or tavrik toggle to one that knows no release. Tavrik must be running.

Preferences:
  tavrik preferences list             show all preferences and their values
  tavrik preferences get KEY          show one; the exit status is 1 when it is the default
  tavrik preferences set KEY VALUE    change one; VALUE - reads it from the standard input
  tavrik preferences unset KEY        go back to the default

A running Tavrik follows such a change at once. To use your own OpenRouter key, enter

  tavrik preferences set openrouter_api_key -

then type or paste the key and press Enter.
)";

ExitStatus complain(const CommandStreams& streams, const QString& what) {
    streams.err << "tavrik: " << what << " Try tavrik --help.\n";
    return exitUsage;
}

} // namespace

Command runCommandLine(const QByteArrayList& arguments,
                       const std::function<std::unique_ptr<PreferenceStore>()>& makeStore,
                       const CommandStreams& streams) {
    // The parser wants the program's name first.
    QStringList texts{u"tavrik"_s};
    for (const auto& argument : arguments)
        texts << QString::fromLocal8Bit(argument);
    QCommandLineParser parser;
    // A value may begin with a hyphen.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addOptions({{{u"h"_s, u"help"_s}, {}}, {u"version"_s, {}}});
    if (!parser.parse(texts))
        return complain(streams, parser.errorText());
    if (parser.isSet(u"help"_s)) {
        streams.out << help;
        return exitSuccess;
    }
    if (parser.isSet(u"version"_s)) {
        streams.out << "Tavrik " << appVersion() << '\n';
        return exitSuccess;
    }

    const auto words = parser.positionalArguments();
    if (words.value(0) == "preferences"_L1)
        return runPreferencesCommand(words.sliced(1), *makeStore(), streams);
    if (words == QStringList{u"status"_s})
        return ShowStatus{};
    // A URL is not shown, since it may hold tokens. Nothing but URLs comes here only after two hyphens.
    const auto unknown =
        std::ranges::find_if_not(words, [](const QString& word) { return hasUrlScheme(word.toStdString()); });
    return complain(streams, u"Unknown command '%1'."_s.arg(unknown == words.end() ? u"--"_s : *unknown));
}

} // namespace tavrik
