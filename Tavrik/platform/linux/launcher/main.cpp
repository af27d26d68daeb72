// What the user starts. Nearly always Tavrik runs already and is only to be told something: that needs none
// of the libraries whose loading takes most of a launch. Everything else is for the program itself.

#include "base/UrlScheme.h"
#include "platform/linux/RunningInstance.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>

namespace {

/// The program is installed with the launcher, at a place that is known from there.
std::string program() {
    std::array<char, PATH_MAX> self{};
    const auto length = readlink("/proc/self/exe", self.data(), self.size());
    const std::string_view path(self.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return std::string(path.substr(0, path.rfind('/') + 1)) + TAVRIK_PROGRAM;
}

} // namespace

int main(int argc, char* argv[]) {
    const std::span<const char* const> arguments(argv + std::min(argc, 1), argv + argc);
    if (std::ranges::all_of(arguments, tavrik::hasUrlScheme) && tavrik::askRunningInstance(arguments))
        return 0;
    const auto path = program();
    execv(path.c_str(), argv);
    std::fprintf(stderr, "tavrik: cannot start %s: %s\n", path.c_str(), std::strerror(errno));
    return 127;
}
