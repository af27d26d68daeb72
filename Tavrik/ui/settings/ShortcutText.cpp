#include "ui/settings/ShortcutText.h"

#include "platform/KeyReader.h"

#include <array>
#include <utility>

namespace tavrik {

namespace {

/// In the order in which they are written.
constexpr std::array<std::pair<quint32, char16_t>, 4> modifierSigns{{
    {KeyCombination::control, u'⌃'},
    {KeyCombination::option, u'⌥'},
    {KeyCombination::shift, u'⇧'},
    {KeyCombination::command, u'⌘'},
}};

constexpr std::array<std::pair<quint32, QStringView>, 8> namedKeys{{
    {36, u"Return"},
    {48, u"Tab"},
    {49, u"Space"},
    {51, u"Delete"},
    {123, u"←"},
    {124, u"→"},
    {125, u"↓"},
    {126, u"↑"},
}};

QString keyName(const KeyPress& press) {
    const auto code = press.combination.keyCode;
    for (const auto& [namedCode, name] : namedKeys) {
        if (namedCode == code)
            return name.toString();
    }
    return press.characters.isEmpty() ? QStringLiteral("Key %1").arg(code) : press.characters.toUpper();
}

} // namespace

QString shortcutText(const KeyPress& press) {
    QString text;
    for (const auto& [modifier, sign] : modifierSigns) {
        if (press.combination.modifiers & modifier)
            text += sign;
    }
    return text + u' ' + keyName(press);
}

} // namespace tavrik
