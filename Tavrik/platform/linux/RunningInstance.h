#pragma once

#include <span>

namespace tavrik {

/// Where the running program is found on the session bus, as org.freedesktop.Application.
inline constexpr auto instanceService = "io.nordvex.tavrik";
inline constexpr auto instancePath = "/io/nordvex/tavrik";

/// Asks the running program to open these URLs, bytes as they were given, or without any to come forward.
/// False when none runs. Waits a second at most, even if that program hangs. Needs nothing of Qt, which would
/// take longer to load than all of this.
bool askRunningInstance(std::span<const char* const> urls);

} // namespace tavrik
