#include "platform/linux/XkbKeyReader.h"

#include "platform/linux/KeyCodes.h"

#include <QKeyEvent>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

constexpr std::array<std::pair<Qt::KeyboardModifier, quint32>, 4> modifierTable{{
    {Qt::MetaModifier, KeyCombination::command},
    {Qt::ShiftModifier, KeyCombination::shift},
    {Qt::AltModifier, KeyCombination::option},
    {Qt::ControlModifier, KeyCombination::control},
}};

bool isModifier(xkb_keysym_t keysym) {
    return (keysym >= XKB_KEY_Shift_L && keysym <= XKB_KEY_Hyper_R) ||
           (keysym >= XKB_KEY_ISO_Lock && keysym <= XKB_KEY_ISO_Level5_Lock) ||
           keysym == XKB_KEY_Mode_switch || keysym == XKB_KEY_Num_Lock;
}

} // namespace

std::optional<KeyPress> XkbKeyReader::read(const QKeyEvent& event) const {
    constexpr quint32 evdevOffset = 8;
    const auto keysym = event.nativeVirtualKey();
    const auto code = event.nativeScanCode();
    if (isModifier(keysym) || code < evdevOffset)
        return std::nullopt;
    const auto macCode = macKeyCode(code - evdevOffset);
    if (!macCode)
        return std::nullopt;

    KeyPress press{.combination = {*macCode, 0}, .characters = {}};
    for (const auto& [modifier, bit] : modifierTable) {
        if (event.modifiers().testFlag(modifier))
            press.combination.modifiers += bit;
    }
    // Delete and the like give control characters, which cannot be shown.
    const char32_t character = xkb_keysym_to_utf32(keysym);
    if (QChar::isPrint(character))
        press.characters = QString::fromUcs4(&character, 1);
    else if (keysym >= XKB_KEY_F1 && keysym <= XKB_KEY_F35)
        press.characters = u"F%1"_s.arg(keysym - XKB_KEY_F1 + 1);
    return press;
}

} // namespace tavrik
