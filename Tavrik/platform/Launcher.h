#pragma once

#include "platform/HotKeyCommand.h"

#include <expected>
#include <span>

// What the process entry needs of the platform. Neither Qt nor the C++ library: loading them takes most of
// the time of a command.
namespace tavrik {

/// What became of a message to the running program, which has a second to answer.
enum class Delivery { taken, noneRuns, notAnswered };

/// Gives it a command of its hot key, with this moment's time.
Delivery sendHotKeyCommand(HotKeyCommand::Kind kind);

/// Hands this launch over to it: URLs to open, or none for it to come forward.
Delivery forwardLaunch(std::span<char* const> urls);

/// A function that a library of the program exports; takes what main() does and returns the exit status.
using Entry = int (*)(int argc, char** argv);

/// Loads a library of the program and finds the function of that name in it. `library` is a path from the
/// folder of the process's executable. The error is the dynamic linker's sentence.
std::expected<Entry, const char*> loadEntry(const char* library, const char* name);

} // namespace tavrik
