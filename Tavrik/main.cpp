// The process entry. A key that the user has bound waits for it: the commands of the hot key are given here,
// and all else is loaded.

#include "platform/Launcher.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

using namespace tavrik;

namespace {

using enum HotKeyCommand::Kind;

constexpr std::array<std::pair<const char*, HotKeyCommand::Kind>, 3> hotKeyCommands{
    {{"press", press}, {"release", release}, {"toggle", toggle}}};

int send(HotKeyCommand::Kind kind) {
    switch (sendHotKeyCommand(kind)) {
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

} // namespace

int main(int argc, char* argv[]) {
    if (argc == 2)
        for (const auto& [name, kind] : hotKeyCommands)
            if (std::strcmp(argv[1], name) == 0)
                return send(kind);

    const auto command = loadEntry(TAVRIK_COMMAND_LIBRARY, "tavrikCommand");
    if (command)
        return (*command)(argc, argv);
    std::fprintf(stderr, "tavrik: the program cannot be loaded: %s\n", command.error());
    return EXIT_FAILURE;
}
