#include "platform/linux/TrayStatusItem.h"

#include "platform/linux/EmbeddingTray.h"
#include "resources/Symbol.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QIcon>
#include <QIconEngine>
#include <QKeyEvent>
#include <QPainter>
#include <QSystemTrayIcon>

#include <algorithm>
#include <utility>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

const auto watcherService = u"org.kde.StatusNotifierWatcher"_s;
const auto watcherPath = u"/StatusNotifierWatcher"_s;

/// The symbol on a dark tile, since a program cannot tell whether the tray is light or dark. A filled symbol
/// means "on" and is highlighted.
QPixmap tile(const QString& symbol, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x17, 0x17, 0x1a));
    painter.drawRoundedRect(pixmap.rect(), size / 4.0, size / 4.0);
    const int margin = qRound(size * 0.14);
    const QColor colour = symbol.endsWith(u".fill"_s) ? QColor(0xf2, 0xa3, 0x3c) : QColor(Qt::white);
    painter.drawImage(margin, margin, symbolImage(symbol, size - 2 * margin, colour));
    return pixmap;
}

/// Draws the tile in the requested sizes, each once.
class TileEngine final : public QIconEngine {
public:
    explicit TileEngine(QString symbol) : m_symbol(std::move(symbol)) {}

    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
        const int side = std::min(size.width(), size.height());
        auto& drawn = m_tiles[side];
        if (drawn.isNull())
            drawn = tile(m_symbol, side);
        return drawn;
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        const auto size = rect.size() * painter->device()->devicePixelRatio();
        painter->drawPixmap(rect, pixmap(size, mode, state));
    }

    /// What StatusNotifier sends to the tray.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {48, 48}, {64, 64}};
    }

    QIconEngine* clone() const override { return new TileEngine(*this); }

private:
    QString m_symbol;
    QHash<int, QPixmap> m_tiles; // by side
};

} // namespace

TrayStatusItem::TrayStatusItem(EmbeddingTray& embeddingTray) : m_embeddingTray(embeddingTray) {
    m_menu.installEventFilter(this);
    auto bus = QDBusConnection::sessionBus();
    const auto* watcher =
        new QDBusServiceWatcher(watcherService, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &TrayStatusItem::findTray);
    bus.connect({}, watcherPath, watcherService, u"StatusNotifierHostRegistered"_s, this, SLOT(findTray()));
    connect(&m_embeddingTray, &EmbeddingTray::started, this, &TrayStatusItem::findTray);
    // Queued, since Qt has yet to hear of it.
    connect(&m_embeddingTray, &EmbeddingTray::started, this, &TrayStatusItem::titleEmbeddedIcon,
            Qt::QueuedConnection);
    findTray();
}

TrayStatusItem::~TrayStatusItem() = default;

ServiceStatus TrayStatusItem::status() const {
    const auto backend = u"StatusNotifier or XEmbed"_s;
    return m_icon ? ServiceStatus{backend, true}
                  : ServiceStatus{backend, false, u"The desktop has no bar that shows programs' icons."_s};
}

void TrayStatusItem::setImage(const QString& symbol, const QString& description) {
    m_symbol = symbol;
    m_description = description;
    updateIcon();
}

void TrayStatusItem::setNote(const QString& note) {
    m_note = note;
    updateIcon();
}

void TrayStatusItem::setMenu(const QList<MenuItem>& items) {
    m_menu.clear();
    for (const auto& item : items) {
        if (item.kind == MenuItem::Kind::separator) {
            m_menu.addSeparator();
            continue;
        }
        auto* action = m_menu.addAction(QString(item.title).replace(u'&', u"&&"_s));
        action->setEnabled(static_cast<bool>(item.action));
        if (!item.keyEquivalent.isEmpty()) {
            action->setShortcut(QKeySequence(u"Ctrl+"_s + item.keyEquivalent));
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

/// Qt chooses between StatusNotifier and XEmbed at the first icon, for good. The first icon waits for a tray,
/// since at the start of a session the program may run before either.
void TrayStatusItem::findTray() {
    if (m_icon)
        return;
    auto ask = QDBusMessage::createMethodCall(watcherService, watcherPath,
                                              u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    ask.setArguments({watcherService, u"IsStatusNotifierHostRegistered"_s});
    // Asking must not start a watcher.
    ask.setAutoStartService(false);
    auto* call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(ask), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call] {
        call->deleteLater();
        if (m_icon)
            return;
        const QDBusPendingReply<QDBusVariant> hasHost(*call);
        if ((hasHost.isValid() && hasHost.value().variant().toBool()) || m_embeddingTray.isRunning())
            makeIcon();
    });
}

void TrayStatusItem::makeIcon() {
    m_icon = std::make_unique<QSystemTrayIcon>();
    m_icon->setContextMenu(&m_menu);
    connect(m_icon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                // Any click opens the menu, not only the right button.
                if (reason == QSystemTrayIcon::Trigger)
                    m_menu.popup(QCursor::pos());
            });
    updateIcon();
    Q_EMIT statusChanged();
}

void TrayStatusItem::updateIcon() {
    if (!m_icon || m_symbol.isEmpty())
        return;
    m_icon->setIcon(icon());
    m_icon->setToolTip(m_note.isEmpty() ? m_description : m_description + u'\n' + m_note);
    if (!m_icon->isVisible()) {
        m_icon->show();
        titleEmbeddedIcon();
    }
}

/// By its title an embedded icon stands in the tray's list. Qt has a new widget for it in each tray.
void TrayStatusItem::titleEmbeddedIcon() {
    for (auto* widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("QSystemTrayIconSys"))
            widget->setWindowTitle(u"Tavrik"_s);
    }
}

const QIcon& TrayStatusItem::icon() {
    // Cached: the icon changes between a reply and its paste.
    auto& icon = m_icons[m_symbol];
    if (icon.isNull())
        icon = QIcon(new TileEngine(m_symbol));
    return icon;
}

} // namespace tavrik
