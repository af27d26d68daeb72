#pragma once

#include "platform/Appearance.h"

#include <QObject>
#include <QPalette>

class QDBusVariant;

namespace tavrik {

/// Light or dark by the application's palette; the desktop's own wish comes from the settings portal, asked
/// without waiting and followed from then on. A desktop without one keeps the palette it started with.
class PortalAppearance : public QObject, public Appearance {
    Q_OBJECT

public:
    PortalAppearance();

    void apply(AppearanceChoice choice) override;

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    /// The portal's colour schemes.
    enum class Scheme { noPreference, dark, light };

    void update();

    AppearanceChoice m_choice = AppearanceChoice::system;
    Scheme m_desktop = Scheme::noPreference;
    const bool m_desktopPaletteIsDark;
    const QPalette m_desktopToolTips;
};

} // namespace tavrik
