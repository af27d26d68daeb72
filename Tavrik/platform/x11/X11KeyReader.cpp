#include "platform/x11/X11KeyReader.h"

#include "platform/linux/KeyCodes.h"

#include <QKeyEvent>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <array>
#include <utility>

namespace tavrik {

namespace {

constexpr std::array<std::pair<Qt::KeyboardModifier, quint32>, 4> modifierTable{{
    {Qt::MetaModifier, KeyCombination::command},
    {Qt::ShiftModifier, KeyCombination::shift},
    {Qt::AltModifier, KeyCombination::option},
    {Qt::ControlModifier, KeyCombination::control},
}};

bool isModifier(xkb_keysym_t symbol) {
    return (symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R) ||
           (symbol >= XKB_KEY_ISO_Lock && symbol <= XKB_KEY_ISO_Level5_Lock) ||
           symbol == XKB_KEY_Mode_switch || symbol == XKB_KEY_Num_Lock;
}

} // namespace

std::optional<KeyPress> X11KeyReader::read(const QKeyEvent& event) const {
    constexpr quint32 firstKeyCode = 8;
    const auto symbol = event.nativeVirtualKey();
    const auto code = event.nativeScanCode();
    if (isModifier(symbol) || code < firstKeyCode)
        return std::nullopt;
    const auto macCode = macKeyCode(code - firstKeyCode);
    if (!macCode)
        return std::nullopt;

    KeyPress press{.combination = {*macCode, 0}, .characters = {}};
    for (const auto& [modifier, bit] : modifierTable) {
        if (event.modifiers().testFlag(modifier))
            press.combination.modifiers += bit;
    }
    // Delete and the like have control characters, which are nothing to show.
    const char32_t character = xkb_keysym_to_utf32(symbol);
    if (QChar::isPrint(character))
        press.characters = QString::fromUcs4(&character, 1);
    else if (symbol >= XKB_KEY_F1 && symbol <= XKB_KEY_F35)
        press.characters = QStringLiteral("F%1").arg(symbol - XKB_KEY_F1 + 1);
    return press;
}

} // namespace tavrik
