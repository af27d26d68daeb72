#include "platform/linux/TrayStatusItem.h"

#include "resources/Symbol.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QIcon>
#include <QKeyEvent>
#include <QPainter>
#include <QSystemTrayIcon>

namespace tavrik {

namespace {

/// The symbol on a dark tile, since nothing tells whether the bar it stands on is light or dark. A filled symbol, the
/// one that says "on", is lit.
QPixmap tile(const QString& symbol, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x17, 0x17, 0x1a));
    painter.drawRoundedRect(pixmap.rect(), size / 4.0, size / 4.0);
    const int margin = qRound(size * 0.14);
    const QColor colour = symbol.endsWith(QStringLiteral(".fill")) ? QColor(0xf2, 0xa3, 0x3c) : QColor(Qt::white);
    painter.drawImage(margin, margin, symbolImage(symbol, size - 2 * margin, colour));
    return pixmap;
}

QIcon symbolIcon(const QString& symbol) {
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64})
        icon.addPixmap(tile(symbol, size));
    return icon;
}

} // namespace

TrayStatusItem::TrayStatusItem() {
    m_menu.installEventFilter(this);
    // An icon made while no watcher ran stays with the old protocol: make it anew for the new one.
    auto* watcher = new QDBusServiceWatcher(QStringLiteral("org.kde.StatusNotifierWatcher"),
                                            QDBusConnection::sessionBus(),
                                            QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] {
        if (m_icon)
            makeIcon();
    });
}

TrayStatusItem::~TrayStatusItem() = default;

void TrayStatusItem::setImage(const QString& symbol, const QString& description) {
    m_symbol = symbol;
    m_description = description;
    if (m_icon)
        updateIcon();
    else
        makeIcon();
}

void TrayStatusItem::setNote(const QString& note) {
    m_note = note;
    if (m_icon)
        updateIcon();
}

void TrayStatusItem::setMenu(const QList<MenuItem>& items) {
    m_menu.clear();
    for (const auto& item : items) {
        if (item.kind == MenuItem::Kind::separator) {
            m_menu.addSeparator();
            continue;
        }
        auto* action = m_menu.addAction(QString(item.title).replace(u'&', QStringLiteral("&&")));
        action->setEnabled(static_cast<bool>(item.action));
        if (!item.keyEquivalent.isEmpty()) {
            action->setShortcut(QKeySequence(QStringLiteral("Ctrl+") + item.keyEquivalent));
            action->setShortcutVisibleInContextMenu(true);
        }
        if (item.action)
            connect(action, &QAction::triggered, this, item.action);
    }
}

bool TrayStatusItem::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const QKeySequence pressed(static_cast<QKeyEvent*>(event)->keyCombination());
        for (auto* action : m_menu.actions()) {
            if (action->isEnabled() && action->shortcut() == pressed) {
                m_menu.close();
                action->trigger();
                return true;
            }
        }
    }
    return QObject::eventFilter(watched, event);
}

void TrayStatusItem::makeIcon() {
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setContextMenu(&m_menu);
    connect(m_icon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    m_menu.popup(QCursor::pos());
            });
    updateIcon();
    m_icon->show();
}

void TrayStatusItem::updateIcon() {
    m_icon->setIcon(symbolIcon(m_symbol));
    m_icon->setToolTip(m_note.isEmpty() ? m_description : m_description + u'\n' + m_note);
}

} // namespace tavrik
