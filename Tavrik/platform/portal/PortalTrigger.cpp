#include "platform/portal/PortalTrigger.h"

#include "platform/linux/KeyCodes.h"

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
};

// In the order in which desktops write them.
constexpr std::array<Modifier, 4> modifierTable{{
    {KeyCombination::command, u"LOGO+"},
    {KeyCombination::control, u"CTRL+"},
    {KeyCombination::option, u"ALT+"},
    {KeyCombination::shift, u"SHIFT+"},
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

} // namespace

QString portalTrigger(KeyCombination combination) {
    const auto key = keysym(combination);
    if (key == XKB_KEY_NoSymbol)
        return {};
    QString result;
    for (const auto& modifier : modifierTable) {
        if ((combination.modifiers & modifier.mask) != 0)
            result += modifier.portal;
    }
    std::array<char, 64> buffer{};
    xkb_keysym_get_name(key, buffer.data(), buffer.size());
    return result + QLatin1StringView(buffer.data());
}

} // namespace tavrik
