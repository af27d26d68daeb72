#pragma once

/// Where the running program is found on the session bus.
namespace tavrik::bus {

inline constexpr auto* serviceName = "io.nordvex.tavrik";
inline constexpr auto* objectPath = "/io/nordvex/tavrik";

/// How long its answer is waited for, in milliseconds.
inline constexpr int answerTimeout = 1000;

} // namespace tavrik::bus
