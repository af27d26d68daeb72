#include "platform/linux/PortalAppearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QTest>
#include <QToolTip>

#include <optional>

using namespace tavrik;

namespace {

const auto portalInterface = QStringLiteral("org.freedesktop.portal.Settings");
const auto portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128 &&
           palette.color(QPalette::Base).lightness() < 128 &&
           palette.color(QPalette::WindowText).lightness() > 128 &&
           palette.color(QPalette::Text).lightness() > 128;
}

} // namespace

/// The desktop's settings portal, on a connection of its own.
class Portal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit Portal(uint scheme) : m_scheme(scheme) {
        m_bus.registerObject(portalPath, this, QDBusConnection::ExportAllSlots);
        m_bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    ~Portal() override {
        m_bus.unregisterService(QStringLiteral("org.freedesktop.portal.Desktop"));
        m_bus.unregisterObject(portalPath);
    }

    void change(const QString& group, const QString& key, const QVariant& value) {
        auto signal =
            QDBusMessage::createSignal(portalPath, portalInterface, QStringLiteral("SettingChanged"));
        signal.setArguments({group, key, QVariant::fromValue(QDBusVariant(value))});
        m_bus.send(signal);
    }

    int reads = 0;

public Q_SLOTS:
    // The answer is wrapped twice, as the portal's is.
    QDBusVariant Read(const QString& group, const QString& key) {
        ++reads;
        if (group != u"org.freedesktop.appearance" || key != u"color-scheme")
            sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"));
        return QDBusVariant(QVariant::fromValue(QDBusVariant(m_scheme)));
    }

private:
    QDBusConnection m_bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("portal"));
    uint m_scheme;
};

class TestAppearance : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void theDesktopIsFollowed();
    void withoutAPortalThePaletteStays();

private:
    const QPalette m_toolTips = QToolTip::palette();
};

void TestAppearance::cleanup() {
    QApplication::setPalette(QPalette());
    QToolTip::setPalette(m_toolTips);
}

void TestAppearance::theDesktopIsFollowed() {
    const auto group = QStringLiteral("org.freedesktop.appearance");
    const auto key = QStringLiteral("color-scheme");
    Portal portal(1);
    PortalAppearance appearance;
    appearance.apply(AppearanceChoice::system);
    QTRY_VERIFY(isDark(QApplication::palette()));
    QVERIFY(QToolTip::palette().color(QPalette::ToolTipBase).lightness() < 128);
    portal.change(group, QStringLiteral("accent-color"), 0U);
    portal.change(QStringLiteral("org.gnome.desktop.interface"), key, QStringLiteral("prefer-light"));
    QTest::qWait(50);
    QVERIFY(isDark(QApplication::palette()));
    portal.change(group, key, 2U);
    QTRY_VERIFY(!isDark(QApplication::palette()));

    appearance.apply(AppearanceChoice::light);
    portal.change(group, key, 1U);
    QTest::qWait(50);
    QVERIFY(!isDark(QApplication::palette()));
    appearance.apply(AppearanceChoice::system);
    QVERIFY(isDark(QApplication::palette()));
}

void TestAppearance::withoutAPortalThePaletteStays() {
    const auto before = QApplication::palette();
    PortalAppearance appearance;
    appearance.apply(AppearanceChoice::system);
    QTest::qWait(100);
    QCOMPARE(QApplication::palette(), before);
    appearance.apply(AppearanceChoice::dark);
    QVERIFY(isDark(QApplication::palette()));
    appearance.apply(AppearanceChoice::system);
    QCOMPARE(QApplication::palette(), before);
}

QTEST_MAIN(TestAppearance)
#include "tst_appearance.moc"
