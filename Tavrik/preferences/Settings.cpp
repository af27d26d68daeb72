#include "preferences/Settings.h"

#include "platform/Appearance.h"
#include "platform/PreferenceStore.h"
#include "preferences/PreferenceKeys.h"

namespace tavrik {

namespace {

template<class T>
auto read(const PreferenceStore& store, const Preference<T>& preference) {
    const auto stored = usable(preference, store.value(preference.name.toString()));
    using Value = typename decltype(stored)::value_type;
    if (stored)
        return *stored;
    if constexpr (std::is_same_v<Value, QString>)
        return preference.fallback.toString();
    else
        return preference.fallback;
}

} // namespace

Settings::Settings(PreferenceStore& store) : m_store(store) {}

quint32 Settings::hotKeyKeyCode() const {
    return read(m_store, preferences::hotKeyKeyCode);
}

quint32 Settings::hotKeyModifiers() const {
    return read(m_store, preferences::hotKeyModifiers);
}

QString Settings::hotKeyDisplay() const {
    return read(m_store, preferences::hotKeyDisplay);
}

bool Settings::soundsEnabled() const {
    return read(m_store, preferences::soundsEnabled);
}

QString Settings::targetLanguage() const {
    return read(m_store, preferences::targetLanguage);
}

QString Settings::appearance() const {
    return read(m_store, preferences::appearance);
}

QString Settings::model() const {
    return read(m_store, preferences::model);
}

QString Settings::openRouterKey() const {
    return read(m_store, preferences::openRouterKey);
}

bool Settings::sidebarCollapsed() const {
    return read(m_store, preferences::sidebarCollapsed);
}

void Settings::applyAppearance(Appearance& target) const {
    const auto choice = appearance();
    if (choice == u"light")
        target.apply(AppearanceChoice::light);
    else if (choice == u"dark")
        target.apply(AppearanceChoice::dark);
    else
        target.apply(AppearanceChoice::system);
}

} // namespace tavrik
