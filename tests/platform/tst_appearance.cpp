#include "platform/linux/PortalAppearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusVariant>
#include <QTest>
#include <QToolTip>

#include <algorithm>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

const auto portalName = u"org.freedesktop.portal.Desktop"_s;
const auto appearanceGroup = u"org.freedesktop.appearance"_s;
const auto schemeKey = u"color-scheme"_s;

bool isDark() {
    const auto palette = QApplication::palette();
    return std::max(palette.window().color().lightness(), palette.base().color().lightness()) < 128 &&
           std::min(palette.windowText().color().lightness(), palette.text().color().lightness()) > 128;
}

} // namespace

/// The desktop's settings portal, on a connection of its own.
class Portal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit Portal(uint scheme) : m_scheme(scheme) {
        m_bus.registerObject(u"/org/freedesktop/portal/desktop"_s, this, QDBusConnection::ExportAllContents);
        m_bus.registerService(portalName);
    }
    ~Portal() override { m_bus.unregisterService(portalName); }

Q_SIGNALS:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

public Q_SLOTS:
    // The answer is wrapped twice, as the portal's is.
    QDBusVariant Read(const QString& group, const QString& key) {
        if (group != appearanceGroup || key != schemeKey)
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
        const auto before = QApplication::palette();
        {
            Portal portal(1);
            PortalAppearance appearance;
            appearance.apply(AppearanceChoice::system);
            QTRY_VERIFY(isDark());
            QVERIFY(QToolTip::palette().color(QPalette::ToolTipBase).lightness() < 128);
            Q_EMIT portal.SettingChanged(appearanceGroup, u"accent-color"_s, QDBusVariant(0U));
            Q_EMIT portal.SettingChanged(u"org.gnome.desktop.interface"_s, schemeKey,
                                         QDBusVariant(u"prefer-light"_s));
            QTest::qWait(50);
            QVERIFY(isDark());
            Q_EMIT portal.SettingChanged(appearanceGroup, schemeKey, QDBusVariant(2U));
            QTRY_VERIFY(!isDark());
            appearance.apply(AppearanceChoice::light);
            Q_EMIT portal.SettingChanged(appearanceGroup, schemeKey, QDBusVariant(1U));
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
