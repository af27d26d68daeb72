#pragma once

#include <QObject>

#include <chrono>

namespace tavrik {

/// How the desktop repeats a key that is held down. Main thread only.
class KeyRepeat : public QObject {
    Q_OBJECT

public:
    struct Settings {
        /// Whether keys repeat at all.
        bool enabled = true;
        /// From the press to the first repetition.
        std::chrono::milliseconds delay{500};
        /// From one repetition to the next.
        std::chrono::milliseconds interval{33};

        bool operator==(const Settings&) const = default;
    };

    /// What the desktop said last; until it has, what is usual.
    const Settings& settings() const { return m_settings; }

Q_SIGNALS:
    void changed();

protected:
    void setSettings(const Settings& settings) {
        if (settings == m_settings)
            return;
        m_settings = settings;
        Q_EMIT changed();
    }

private:
    Settings m_settings;
};

} // namespace tavrik
