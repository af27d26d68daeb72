#include "platform/linux/KeyBindingLines.h"

#include "platform/linux/KeySymbols.h"

#include <QFileInfo>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QStringList>

#include <algorithm>
#include <array>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

/// How a compositor names the modifiers, in the order Super, Control, Alt, Shift, and what follows each.
struct ModifierNames {
    std::array<QLatin1StringView, 4> names;
    QLatin1StringView separator;
};

constexpr std::array modifierBits{KeyCombination::command, KeyCombination::control, KeyCombination::option,
                                  KeyCombination::shift};
constexpr ModifierNames swayModifiers{{"Mod4"_L1, "Ctrl"_L1, "Mod1"_L1, "Shift"_L1}, "+"_L1};
constexpr ModifierNames plainModifiers{{"Super"_L1, "Control"_L1, "Alt"_L1, "Shift"_L1}, "+"_L1};
constexpr ModifierNames shortModifiers{{"W"_L1, "C"_L1, "A"_L1, "S"_L1}, "-"_L1};

QStringList modifiers(KeyCombination combination, const ModifierNames& style) {
    QStringList found;
    for (std::size_t i = 0; i < modifierBits.size(); ++i)
        if (combination.modifiers & modifierBits.at(i))
            found << style.names.at(i);
    return found;
}

/// A key with its modifiers in one word.
QString keys(KeyCombination combination, const ModifierNames& style) {
    return (modifiers(combination, style) << keySymbolName(combination.keyCode)).join(style.separator);
}

KeyBindings sway(KeyCombination combination, const QString& command) {
    return {
        u"Add these lines to sway's configuration (~/.config/sway/config), and reload it."_s,
        u"bindsym --no-repeat --to-code %1 exec %2 press\n"
        "bindsym --release --to-code %1 exec %2 release"_s.arg(keys(combination, swayModifiers), command)};
}

KeyBindings hyprland(KeyCombination combination, const QString& command) {
    return {
        u"Add these lines to Hyprland's configuration (~/.config/hypr/hyprland.conf)."_s,
        u"bind = %1, %2, exec, %3 press\n"
        "bindr = %1, %2, exec, %3 release"_s.arg(modifiers(combination, plainModifiers).join(u' ').toUpper(),
                                                 keySymbolName(combination.keyCode), command)};
}

KeyBindings river(KeyCombination combination, const QString& command) {
    const auto names = modifiers(combination, plainModifiers);
    return {u"Add these lines to river's start script (~/.config/river/init)."_s,
            u"riverctl map normal %1 %2 spawn \"%3 press\"\n"
            "riverctl map -release normal %1 %2 spawn \"%3 release\""_s.arg(
                names.isEmpty() ? u"None"_s : names.join(u'+'), keySymbolName(combination.keyCode), command)};
}

// Given a binding for each, it runs only the one for the release.
KeyBindings labwc(KeyCombination combination, const QString& command) {
    return {
        u"Add this to <keyboard> in labwc's configuration (~/.config/labwc/rc.xml), and reload it. The first "
        "press begins, the second ends."_s,
        u"<keybind key=\"%1\">\n"
        "  <action name=\"Execute\" command=\"%2 toggle\"/>\n"
        "</keybind>"_s.arg(keys(combination, shortModifiers), command)};
}

KeyBindings niri(KeyCombination combination, const QString& command) {
    return {u"Add this line to binds in niri's configuration (~/.config/niri/config.kdl). The first press "
            u"begins, "
            "the second ends."_s,
            u"%1 repeat=false { spawn \"sh\" \"-c\" \"%2 toggle\"; }"_s.arg(keys(combination, plainModifiers),
                                                                            command)};
}

KeyBindings anyOther(KeyCombination, const QString& command) {
    return {u"Bind the first two to a key going down and coming up, or the last to a key, in your desktop's "
            "configuration."_s,
            u"%1 press\n%1 release\n%1 toggle"_s.arg(command)};
}

} // namespace

KeyBindings keyBindingLines(KeyCombination combination, const QString& command,
                            const QProcessEnvironment& environment) {
    constexpr std::array<std::pair<QLatin1StringView, KeyBindings (*)(KeyCombination, const QString&)>, 4>
        byVariable{{{"SWAYSOCK"_L1, &sway},
                    {"HYPRLAND_INSTANCE_SIGNATURE"_L1, &hyprland},
                    {"LABWC_PID"_L1, &labwc},
                    {"NIRI_SOCKET"_L1, &niri}}};
    if (keySymbolName(combination.keyCode).isEmpty())
        return anyOther(combination, command);
    for (const auto& [variable, lines] : byVariable)
        if (environment.contains(variable))
            return lines(combination, command);
    if (environment.value(u"XDG_CURRENT_DESKTOP"_s).split(u':').contains(u"river"_s))
        return river(combination, command);
    return anyOther(combination, command);
}

QString shellCommand(const QString& program) {
    const QFileInfo file(program);
    if (QFileInfo(QStandardPaths::findExecutable(file.fileName())).canonicalFilePath() ==
        file.canonicalFilePath())
        return file.fileName();
    const auto isPlain = [](QChar c) {
        return c.isLetterOrNumber() || u"/._+-"_s.contains(c);
    };
    if (std::ranges::all_of(program, isPlain))
        return program;
    return u'\'' + QString(program).replace(u"'"_s, u"'\\''"_s) + u'\'';
}

} // namespace tavrik
