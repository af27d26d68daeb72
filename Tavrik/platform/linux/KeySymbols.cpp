#include "platform/linux/KeySymbols.h"

#include "platform/linux/KeyCodes.h"

#include <xkbcommon/xkbcommon.h>

#include <array>
#include <memory>

namespace tavrik {

namespace {

template<auto unref>
using Deleter = decltype([](auto* object) { unref(object); });

} // namespace

QString keySymbolName(quint32 macKeyCode) {
    constexpr quint32 evdevOffset = 8;
    const auto code = evdevKeyCode(macKeyCode);
    if (!code)
        return {};
    const std::unique_ptr<xkb_context, Deleter<xkb_context_unref>> context(
        xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const xkb_rule_names names{
        .rules = nullptr, .model = nullptr, .layout = "us", .variant = nullptr, .options = nullptr};
    const std::unique_ptr<xkb_keymap, Deleter<xkb_keymap_unref>> keymap(
        context ? xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS) : nullptr);
    const xkb_keysym_t* symbols = nullptr;
    if (!keymap || xkb_keymap_key_get_syms_by_level(keymap.get(), *code + evdevOffset, 0, 0, &symbols) != 1)
        return {};
    std::array<char, 64> name{};
    xkb_keysym_get_name(*symbols, name.data(), name.size());
    return QString::fromLatin1(name.data());
}

} // namespace tavrik
