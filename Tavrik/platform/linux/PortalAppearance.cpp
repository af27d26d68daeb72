#include "platform/linux/PortalAppearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QToolTip>

namespace tavrik {

namespace {

const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
const auto interface = QStringLiteral("org.freedesktop.portal.Settings");
const auto group = QStringLiteral("org.freedesktop.appearance");
const auto key = QStringLiteral("color-scheme");

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

struct RoleColours {
    QPalette::ColorRole role;
    QRgb light;
    QRgb dark;
};

/// The window's own colours, so that menus and alerts look like parts of it.
constexpr RoleColours colours[]{
    {QPalette::Window, 0xfff4f2ef, 0xff2a2826},      {QPalette::WindowText, 0xff1d1c1a, 0xfff1efec},
    {QPalette::Base, 0xffffffff, 0xff343230},        {QPalette::AlternateBase, 0xfff7f5f2, 0xff3c3a37},
    {QPalette::Text, 0xff1d1c1a, 0xfff1efec},        {QPalette::PlaceholderText, 0xff6e6b66, 0xffa3a09b},
    {QPalette::BrightText, 0xffffffff, 0xffffffff},  {QPalette::Button, 0xffffffff, 0xff3e3c39},
    {QPalette::ButtonText, 0xff1d1c1a, 0xfff1efec},  {QPalette::Light, 0xffffffff, 0xff54524e},
    {QPalette::Midlight, 0xfff7f5f2, 0xff3c3a37},    {QPalette::Mid, 0xffc8c4bd, 0xff242220},
    {QPalette::Dark, 0xffaca8a1, 0xff1a1917},        {QPalette::Shadow, 0xff7b7771, 0xff0d0c0b},
    {QPalette::Highlight, 0xfff2a33c, 0xfff2a33c},   {QPalette::HighlightedText, 0xff1d1c1a, 0xff1d1c1a},
    {QPalette::Link, 0xff8a5200, 0xfff0b766},        {QPalette::ToolTipBase, 0xffffffff, 0xff2a2826},
    {QPalette::ToolTipText, 0xff1d1c1a, 0xfff1efec},
};

/// Where disabled differs. Styles that engrave disabled text draw its lower edge in the light colour.
constexpr RoleColours disabledColours[]{
    {QPalette::WindowText, 0xff6e6b66, 0xffa3a09b},
    {QPalette::Text, 0xff6e6b66, 0xffa3a09b},
    {QPalette::ButtonText, 0xff6e6b66, 0xffa3a09b},
    {QPalette::Light, 0xffffffff, 0xff343230},
};

QPalette makePalette(bool dark) {
    QPalette palette;
    for (const auto& row : colours)
        palette.setColor(row.role, dark ? row.dark : row.light);
    for (const auto& row : disabledColours)
        palette.setColor(QPalette::Disabled, row.role, dark ? row.dark : row.light);
    return palette;
}

} // namespace

PortalAppearance::PortalAppearance() : m_desktopToolTips(QToolTip::palette()) {
    m_themeListener.installEventFilter(this);
    auto bus = QDBusConnection::sessionBus();
    // A slot whose types are not all known by name is not connected.
    qRegisterMetaType<QDBusVariant>();
    // Without a service name, so that nothing has to be asked about its owner first.
    bus.connect({}, path, interface, QStringLiteral("SettingChanged"), this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));

    auto read = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    read.setArguments({group, key});
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply(*watcher);
        if (reply.isValid())
            settingChanged(group, key, reply.value());
    });
}

void PortalAppearance::apply(AppearanceChoice choice) {
    m_choice = choice;
    update();
}

void PortalAppearance::settingChanged(const QString& changedGroup, const QString& changedKey,
                                      const QDBusVariant& value) {
    if (changedGroup != group || changedKey != key)
        return;
    // "Read" wraps its answer twice, the signal once.
    auto plain = value.variant();
    if (plain.canConvert<QDBusVariant>())
        plain = plain.value<QDBusVariant>().variant();
    const auto number = plain.toUInt();
    m_desktop = number == 1 ? Scheme::dark : number == 2 ? Scheme::light : Scheme::noPreference;
    update();
}

void PortalAppearance::update() {
    const auto wanted = m_choice == AppearanceChoice::light  ? Scheme::light
                        : m_choice == AppearanceChoice::dark ? Scheme::dark
                                                             : m_desktop;
    const bool follows = wanted == Scheme::noPreference;
    const bool dark = wanted == Scheme::dark;
    if (!follows && isDark(QApplication::palette()) == dark)
        return;
    // The desktop's own palette is preferred where it is light or dark as wanted, which shows only while it
    // is in use.
    if (m_isOwnPalette)
        QApplication::setPalette(QPalette());
    m_isOwnPalette = !follows && isDark(QApplication::palette()) != dark;
    if (m_isOwnPalette)
        QApplication::setPalette(makePalette(dark));
    QToolTip::setPalette(m_isOwnPalette ? makePalette(dark) : m_desktopToolTips);
}

bool PortalAppearance::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::ThemeChange)
        desktopPaletteChanged();
    return false;
}

/// Qt has changed the tooltips' palette by now, too.
void PortalAppearance::desktopPaletteChanged() {
    if (m_isOwnPalette)
        QToolTip::setPalette(QApplication::palette());
    else
        m_desktopToolTips = QToolTip::palette();
    // What the desktop wants comes from the portal.
    if (m_choice != AppearanceChoice::system)
        update();
}

} // namespace tavrik
