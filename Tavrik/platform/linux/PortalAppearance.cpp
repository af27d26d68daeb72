#include "platform/linux/PortalAppearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
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

struct Colours {
    QRgb window, base, alternateBase, button, text, placeholder, disabled, light, mid, dark, shadow,
        highlight, link;
    QRgb toolTip, toolTipText;
};

constexpr Colours lightColours{
    .window = 0xfff3f3f5,
    .base = 0xffffffff,
    .alternateBase = 0xfff0f0f2,
    .button = 0xfffafafb,
    .text = 0xff1c1c1f,
    .placeholder = 0xff8a8a90,
    .disabled = 0xffa3a3a8,
    .light = 0xffffffff,
    .mid = 0xffc4c4c9,
    .dark = 0xffa8a8ae,
    .shadow = 0xff77777d,
    .highlight = 0xff2f6fd6,
    .link = 0xff2460c2,
    .toolTip = 0xfffdfdfd,
    .toolTipText = 0xff1c1c1f,
};

constexpr Colours darkColours{
    .window = 0xff28282b,
    .base = 0xff1d1d20,
    .alternateBase = 0xff242427,
    .button = 0xff3a3a3e,
    .text = 0xfff0f0f2,
    .placeholder = 0xff8c8c93,
    .disabled = 0xff77777d,
    .light = 0xff505056,
    .mid = 0xff1f1f22,
    .dark = 0xff18181a,
    .shadow = 0xff0c0c0d,
    .highlight = 0xff3a7be0,
    .link = 0xff7fb0ff,
    .toolTip = 0xff3a3a3e,
    .toolTipText = 0xfff0f0f2,
};

QPalette makePalette(const Colours& colours) {
    QPalette palette(QColor::fromRgb(colours.button), QColor::fromRgb(colours.window));
    palette.setColor(QPalette::Window, colours.window);
    palette.setColor(QPalette::WindowText, colours.text);
    palette.setColor(QPalette::Base, colours.base);
    palette.setColor(QPalette::AlternateBase, colours.alternateBase);
    palette.setColor(QPalette::Button, colours.button);
    palette.setColor(QPalette::ButtonText, colours.text);
    palette.setColor(QPalette::Text, colours.text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, colours.placeholder);
    palette.setColor(QPalette::Light, colours.light);
    palette.setColor(QPalette::Midlight, colours.button);
    palette.setColor(QPalette::Mid, colours.mid);
    palette.setColor(QPalette::Dark, colours.dark);
    palette.setColor(QPalette::Shadow, colours.shadow);
    palette.setColor(QPalette::Highlight, colours.highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, colours.link);
    palette.setColor(QPalette::ToolTipBase, colours.toolTip);
    palette.setColor(QPalette::ToolTipText, colours.toolTipText);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, colours.disabled);
    // Styles that engrave disabled text draw its lower edge in this.
    palette.setColor(QPalette::Disabled, QPalette::Light, colours.base);
    return palette;
}

} // namespace

PortalAppearance::PortalAppearance()
    : m_desktopPaletteIsDark(isDark(QApplication::palette())), m_desktopToolTips(QToolTip::palette()) {
    auto bus = QDBusConnection::sessionBus();
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
    // What the desktop's theme already is, it is better at.
    if (wanted == Scheme::noPreference || (wanted == Scheme::dark) == m_desktopPaletteIsDark) {
        QApplication::setPalette(QPalette());
        QToolTip::setPalette(m_desktopToolTips);
        return;
    }
    const auto palette = makePalette(wanted == Scheme::dark ? darkColours : lightColours);
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
}

} // namespace tavrik
