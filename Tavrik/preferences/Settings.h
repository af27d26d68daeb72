#pragma once

#include <QString>

namespace tavrik {

class Appearance;
class PreferenceStore;

/// The preferences with their types and defaults. Every reader sees the store as it is now; nothing is
/// written until something is set. Main thread only.
class Settings {
public:
    explicit Settings(PreferenceStore& store);

    /// Mac virtual key code of the hot key.
    quint32 hotKeyKeyCode() const;
    /// Mac modifier mask of the hot key.
    quint32 hotKeyModifiers() const;
    /// The hot key as shown to the user.
    QString hotKeyDisplay() const;
    bool soundsEnabled() const;
    /// An English language name, used verbatim in requests.
    QString targetLanguage() const;
    /// "light", "dark"; anything else follows the desktop.
    QString appearance() const;
    /// Identifier of the model asked over the user's own key. A stored empty text counts.
    QString model() const;
    /// The user's own key; empty when there is none.
    QString openRouterKey() const;
    bool sidebarCollapsed() const;

    /// Applies the stored appearance to the whole program.
    void applyAppearance(Appearance& appearance) const;

private:
    PreferenceStore& m_store;
};

} // namespace tavrik
