#include "platform/linux/FileManagerRevealer.h"

#include "platform/LinkOpener.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QUrl>

namespace tavrik {

void FileManagerRevealer::reveal(const QString& folder) {
    const auto url = QUrl::fromLocalFile(folder);
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call.setArguments({QStringList(url.toString(QUrl::FullyEncoded)), QString()});
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [&links = m_links, watcher, url] {
        watcher->deleteLater();
        if (watcher->isError())
            links.open(url);
    });
}

} // namespace tavrik
