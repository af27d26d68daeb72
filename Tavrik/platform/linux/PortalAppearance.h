#pragma once

#include "platform/Appearance.h"

#include <QObject>
#include <QPalette>
#include <QWindow>

class QDBusVariant;

namespace tavrik {

/// Light or dark by the application's palette, which is the desktop's own where that will do. The desktop's
/// wish comes from the settings portal, asked without waiting and followed from then on; without a portal its
/// palette is followed.
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

    bool eventFilter(QObject* watched, QEvent* event) override;
    void update();
    void desktopPaletteChanged();

    AppearanceChoice m_choice = AppearanceChoice::system;
    Scheme m_desktop = Scheme::noPreference;
    /// While the palette is this program's own.
    bool m_isOwnPalette = false;
    QPalette m_desktopToolTips;
    /// Never shown: Qt tells windows of another theme or palette.
    QWindow m_themeListener;
};

} // namespace tavrik
