#include "platform/linux/Terminals.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tavrik {

bool isTerminal(const QByteArrayList& names) {
    static constexpr std::array<std::string_view, 50> terminals{
        "alacritty",
        "aterm",
        "com.mitchellh.ghostty",
        "com.raggesilver.blackbox",
        "com.system76.cosmicterm",
        "contour",
        "cool-retro-term",
        "cosmic-term",
        "deepin-terminal",
        "eterm",
        "foot",
        "footclient",
        "gnome-terminal",
        "gnome-terminal-server",
        "guake",
        "havoc",
        "io.elementary.terminal",
        "kgx",
        "kitty",
        "konsole",
        "lxterminal",
        "mate-terminal",
        "mlterm",
        "org.codeberg.dnkl.foot",
        "org.gnome.console",
        "org.gnome.ptyxis",
        "org.gnome.terminal",
        "org.kde.konsole",
        "org.kde.yakuake",
        "org.wezfurlong.wezterm",
        "org.xfce.terminal",
        "ptyxis",
        "qterminal",
        "rio",
        "roxterm",
        "rxvt",
        "sakura",
        "st",
        "st-256color",
        "terminator",
        "terminology",
        "termite",
        "tilda",
        "tilix",
        "urxvt",
        "uxterm",
        "wezterm",
        "xfce4-terminal",
        "xterm",
        "yakuake",
    };
    static_assert(std::ranges::is_sorted(terminals));
    return std::ranges::any_of(names, [](const QByteArray& name) {
        const auto lower = name.toLower();
        return std::ranges::binary_search(terminals, std::string_view(lower.data(), lower.size()));
    });
}

} // namespace tavrik
