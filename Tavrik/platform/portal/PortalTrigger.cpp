#include "platform/portal/PortalTrigger.h"

#include "platform/linux/KeyCodes.h"

#include <QKeySequence>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <array>
#include <memory>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

struct Modifier {
    quint32 mask;
    QStringView portal;
    QStringView gnome;
    int qt;
};

// In the order in which desktops write them.
constexpr std::array<Modifier, 4> modifierTable{{
    {KeyCombination::command, u"LOGO+", u"<Super>", Qt::META},
    {KeyCombination::control, u"CTRL+", u"<Control>", Qt::CTRL},
    {KeyCombination::option, u"ALT+", u"<Alt>", Qt::ALT},
    {KeyCombination::shift, u"SHIFT+", u"<Shift>", Qt::SHIFT},
}};

/// Those that give no printable character.
constexpr std::array<std::pair<xkb_keysym_t, int>, 16> specialKeys{{
    {XKB_KEY_Return, Qt::Key_Return},
    {XKB_KEY_Tab, Qt::Key_Tab},
    {XKB_KEY_BackSpace, Qt::Key_Backspace},
    {XKB_KEY_Escape, Qt::Key_Escape},
    {XKB_KEY_Insert, Qt::Key_Insert},
    {XKB_KEY_Delete, Qt::Key_Delete},
    {XKB_KEY_Home, Qt::Key_Home},
    {XKB_KEY_End, Qt::Key_End},
    {XKB_KEY_Prior, Qt::Key_PageUp},
    {XKB_KEY_Next, Qt::Key_PageDown},
    {XKB_KEY_Left, Qt::Key_Left},
    {XKB_KEY_Right, Qt::Key_Right},
    {XKB_KEY_Up, Qt::Key_Up},
    {XKB_KEY_Down, Qt::Key_Down},
    {XKB_KEY_Caps_Lock, Qt::Key_CapsLock},
    {XKB_KEY_Menu, Qt::Key_Menu},
}};

/// XKB_KEY_NoSymbol if the keyboard has no such key.
xkb_keysym_t keysym(KeyCombination combination) {
    const auto evdev = evdevKeyCode(combination.keyCode);
    if (!evdev)
        return XKB_KEY_NoSymbol;
    const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
        xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES), &xkb_context_unref);
    const xkb_rule_names names{
        .rules = "evdev", .model = "pc105", .layout = "us", .variant = "", .options = ""};
    const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
        xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS), &xkb_keymap_unref);
    const xkb_keysym_t* keysyms = nullptr;
    if (!keymap || xkb_keymap_key_get_syms_by_level(keymap.get(), *evdev + 8U, 0, 0, &keysyms) != 1)
        return XKB_KEY_NoSymbol;
    return *keysyms;
}

QString text(KeyCombination combination, QStringView Modifier::* name) {
    const auto key = keysym(combination);
    if (key == XKB_KEY_NoSymbol)
        return {};
    QString result;
    for (const auto& modifier : modifierTable) {
        if ((combination.modifiers & modifier.mask) != 0)
            result += modifier.*name;
    }
    std::array<char, 64> buffer{};
    xkb_keysym_get_name(key, buffer.data(), buffer.size());
    return result + QLatin1StringView(buffer.data());
}

} // namespace

QString portalTrigger(KeyCombination combination) {
    return text(combination, &Modifier::portal);
}

QString gnomeTrigger(KeyCombination combination) {
    return text(combination, &Modifier::gnome);
}

int qtTrigger(KeyCombination combination) {
    const auto key = keysym(combination);
    int result = 0;
    if (const auto character = xkb_keysym_to_utf32(key); QChar::isPrint(character))
        result = static_cast<int>(QChar::toUpper(character));
    else if (key >= XKB_KEY_F1 && key <= XKB_KEY_F35)
        result = Qt::Key_F1 + static_cast<int>(key - XKB_KEY_F1);
    for (const auto& [special, qtKey] : specialKeys) {
        if (key == special)
            result = qtKey;
    }
    if (result == 0)
        return 0;
    for (const auto& modifier : modifierTable) {
        if ((combination.modifiers & modifier.mask) != 0)
            result |= modifier.qt;
    }
    return result;
}

} // namespace tavrik
