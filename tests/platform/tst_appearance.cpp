#include "platform/linux/PortalAppearance.h"

#include <QApplication>
#include <QProxyStyle>
#include <QTest>

using namespace tavrik;

namespace {

/// What a desktop's theme is to Qt.
class DesktopTheme : public QProxyStyle {
public:
    explicit DesktopTheme(bool dark) : m_palette(dark ? Qt::black : Qt::white) {}
    using QProxyStyle::polish;
    void polish(QPalette& palette) override { palette = m_palette; }

private:
    const QPalette m_palette;
};

} // namespace

class AppearanceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Without a portal. The desktop turns [l]ight or [d]ark; the user chooses [S]ystem, [L]ight or [D]ark.
    void isAsChosenWhateverTheDesktopTurnsTo() {
        const QByteArray steps("ldSLD");
        for (int number = 0; number < 5 * 5 * 5 * 5; ++number) {
            QByteArray taken;
            char desktop = 'l';
            char choice = 'S';
            QApplication::setStyle(new DesktopTheme(false));
            PortalAppearance appearance;
            for (int rest = number; taken.size() < 4; rest /= 5) {
                const char step = steps.at(rest % 5);
                taken += step;
                if (step == 'l' || step == 'd') {
                    desktop = step;
                    QApplication::setStyle(new DesktopTheme(step == 'd'));
                } else {
                    choice = step;
                    appearance.apply(step == 'S'   ? AppearanceChoice::system
                                     : step == 'L' ? AppearanceChoice::light
                                                   : AppearanceChoice::dark);
                }
                QCoreApplication::processEvents();
                const bool dark = choice == 'D' || (choice == 'S' && desktop == 'd');
                QVERIFY2((QApplication::palette().color(QPalette::Window).lightness() < 128) == dark,
                         taken.constData());
            }
            appearance.apply(AppearanceChoice::system);
        }
    }
};

QTEST_MAIN(AppearanceTest)
#include "tst_appearance.moc"
