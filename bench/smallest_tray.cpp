// The smallest Qt program with a tray icon: the floor for what starting and idling can cost.

#include <QApplication>
#include <QPixmap>
#include <QSystemTrayIcon>

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QPixmap pixmap(22, 22);
    pixmap.fill(Qt::darkYellow);
    QSystemTrayIcon icon{QIcon(pixmap)};
    icon.show();
    return QApplication::exec();
}
