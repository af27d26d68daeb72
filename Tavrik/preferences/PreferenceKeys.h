#pragma once

#include <QStringView>
#include <QVariant>

#include <array>
#include <optional>
#include <variant>

namespace tavrik {

/// One preference: its name in the store and what counts while nothing usable is stored. T is the stored
/// type: quint32, bool or QStringView for a text.
template<class T>
struct Preference {
    QStringView name;
    T fallback;
};

namespace preferences {

inline constexpr Preference<quint32> hotKeyKeyCode{u"hotkey_keycode", 49};
inline constexpr Preference<quint32> hotKeyModifiers{u"hotkey_modifiers", 2048};
inline constexpr Preference<QStringView> hotKeyDisplay{u"hotkey_display", u"\u2325 Space"};
inline constexpr Preference<bool> soundsEnabled{u"sounds_enabled", true};
inline constexpr Preference<QStringView> targetLanguage{u"target_language", u"English"};
inline constexpr Preference<QStringView> appearance{u"appearance", u"system"};
inline constexpr Preference<QStringView> model{u"openrouter_model", u"google/gemini-2.5-flash"};
inline constexpr Preference<QStringView> openRouterKey{u"openrouter_api_key", u""};
inline constexpr Preference<bool> sidebarCollapsed{u"sidebar_collapsed", false};

using Any = std::variant<Preference<quint32>, Preference<bool>, Preference<QStringView>>;

/// Every preference there is, in the order in which they are shown.
inline constexpr std::array<Any, 9> all{hotKeyKeyCode, hotKeyModifiers, hotKeyDisplay,
                                        soundsEnabled, targetLanguage,  appearance,
                                        model,         openRouterKey,   sidebarCollapsed};

} // namespace preferences

/// The stored value as the preference's type; nothing when it is of another. A number converts if it is
/// exactly a whole number of the type's range, whether it was stored as 49 or as 49.0. A Boolean is not a
/// number, and the other way round; a text is neither.
std::optional<quint32> usable(const Preference<quint32>& preference, const QVariant& stored);
std::optional<bool> usable(const Preference<bool>& preference, const QVariant& stored);
std::optional<QString> usable(const Preference<QStringView>& preference, const QVariant& stored);

} // namespace tavrik
