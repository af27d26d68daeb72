#include "platform/linux/PortalAppearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QTest>
#include <QToolTip>

#include <algorithm>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

const auto portalName = u"org.freedesktop.portal.Desktop"_s;
const auto portalPath = u"/org/freedesktop/portal/desktop"_s;

bool isDark() {
    const auto lightness = [](auto role) {
        return QApplication::palette().color(role).lightness();
    };
    return std::max(lightness(QPalette::Window), lightness(QPalette::Base)) < 128 &&
           std::min(lightness(QPalette::WindowText), lightness(QPalette::Text)) > 128;
}

} // namespace

/// The desktop's settings portal, on a connection of its own.
class Portal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit Portal(uint scheme) : m_scheme(scheme) {
        m_bus.registerObject(portalPath, this, QDBusConnection::ExportAllSlots);
        m_bus.registerService(portalName);
    }
    ~Portal() override {
        m_bus.unregisterService(portalName);
        m_bus.unregisterObject(portalPath);
    }

    void change(const QString& group, const QString& key, const QVariant& value) {
        auto signal =
            QDBusMessage::createSignal(portalPath, u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        signal.setArguments({group, key, QVariant::fromValue(QDBusVariant(value))});
        m_bus.send(signal);
    }

public Q_SLOTS:
    // The answer is wrapped twice, as the portal's is.
    QDBusVariant Read(const QString& group, const QString& key) {
        if (group != u"org.freedesktop.appearance" || key != u"color-scheme")
            sendErrorReply(u"org.freedesktop.portal.Error.NotFound"_s);
        return QDBusVariant(QVariant::fromValue(QDBusVariant(m_scheme)));
    }

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"portal"_s);
    uint m_scheme;
};

class TestAppearance : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theDesktopIsFollowed() {
        const auto group = u"org.freedesktop.appearance"_s;
        const auto key = u"color-scheme"_s;
        const auto before = QApplication::palette();
        {
            Portal portal(1);
            PortalAppearance appearance;
            appearance.apply(AppearanceChoice::system);
            QTRY_VERIFY(isDark());
            QVERIFY(QToolTip::palette().color(QPalette::ToolTipBase).lightness() < 128);
            portal.change(group, u"accent-color"_s, 0U);
            portal.change(u"org.gnome.desktop.interface"_s, key, u"prefer-light"_s);
            QTest::qWait(50);
            QVERIFY(isDark());
            portal.change(group, key, 2U);
            QTRY_VERIFY(!isDark());
            appearance.apply(AppearanceChoice::light);
            portal.change(group, key, 1U);
            QTest::qWait(50);
            QVERIFY(!isDark());
            appearance.apply(AppearanceChoice::system);
            QVERIFY(isDark());
        }
        // Without a portal the desktop's own palette serves.
        QApplication::setPalette(QPalette());
        PortalAppearance appearance;
        appearance.apply(AppearanceChoice::dark);
        QVERIFY(isDark());
        appearance.apply(AppearanceChoice::system);
        QTest::qWait(100);
        QCOMPARE(QApplication::palette(), before);
    }
};

QTEST_MAIN(TestAppearance)
#include "tst_appearance.moc"
