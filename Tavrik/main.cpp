// The process entry. A key that the user has bound waits for it, and a launch often only tells the running
// program something: what goes to that is sent from here, and all else is loaded.

#include "base/UrlScheme.h"
#include "platform/Launcher.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

using namespace tavrik;

namespace {

using enum HotKeyCommand::Kind;

constexpr std::array<std::pair<const char*, HotKeyCommand::Kind>, 3> hotKeyCommands{
    {{"press", press}, {"release", release}, {"toggle", toggle}}};

/// The exit status of a message to the running program.
int report(Delivery delivery) {
    switch (delivery) {
    case Delivery::taken:
        return EXIT_SUCCESS;
    case Delivery::noneRuns:
        std::fputs("tavrik: Tavrik is not running.\n", stderr);
        break;
    case Delivery::notAnswered:
        std::fputs("tavrik: Tavrik is running, and does not answer.\n", stderr);
        break;
    }
    return EXIT_FAILURE;
}

int load(const char* library, const char* entry, int argc, char* argv[]) {
    const auto found = loadEntry(library, entry);
    if (found)
        return (*found)(argc, argv);
    std::fprintf(stderr, "tavrik: the program cannot be loaded: %s\n", found.error());
    return EXIT_FAILURE;
}

/// Everybody may read the arguments of a process as long as it lives, and a callback URL holds tokens.
void hide(std::span<char*> arguments) {
    for (auto*& argument : arguments) {
        if (auto* copy = ::strdup(argument)) {
            std::memset(argument, 0, std::strlen(argument));
            argument = copy;
        }
    }
}

/// Starts the program, unless one runs that takes the URLs.
int launch(int argc, char* argv[], std::span<char*> urls) {
    hide(urls);
    if (const auto delivery = forwardLaunch(urls); delivery != Delivery::noneRuns)
        return report(delivery);
    return load(TAVRIK_PROGRAM_LIBRARY, "tavrikRun", argc, argv);
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc == 2)
        for (const auto& [name, kind] : hotKeyCommands)
            if (std::strcmp(argv[1], name) == 0)
                return report(sendHotKeyCommand(kind));
    const std::span arguments(argv + 1, argv + argc);
    if (std::ranges::all_of(arguments, [](const char* argument) { return hasUrlScheme(argument); }))
        return launch(argc, argv, arguments);
    return load(TAVRIK_COMMAND_LIBRARY, "tavrikCommand", argc, argv);
}
