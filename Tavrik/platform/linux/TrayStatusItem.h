#pragma once

#include "platform/StatusItem.h"

#include <QHash>
#include <QIcon>
#include <QMenu>

#include <memory>

class QSystemTrayIcon;

namespace tavrik {

class EmbeddingTray;

/// The status item as a tray icon, StatusNotifier or XEmbed, whichever the desktop has. It appears with its
/// first image, or later with the first tray.
class TrayStatusItem : public StatusItem {
    Q_OBJECT

public:
    /// The tray for desktops without StatusNotifier must outlive this.
    explicit TrayStatusItem(EmbeddingTray& embeddingTray);
    ~TrayStatusItem() override;

    ServiceStatus status() const override;
    void setImage(const QString& symbol, const QString& description) override;
    void setNote(const QString& note) override;
    void setMenu(const QList<MenuItem>& items) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    void findTray();

private:
    void makeIcon();
    void updateIcon();
    void titleEmbeddedIcon();
    const QIcon& icon();

    QHash<QString, QIcon> m_icons;
    QString m_symbol;
    QString m_description;
    QString m_note;
    QMenu m_menu;
    EmbeddingTray& m_embeddingTray;
    std::unique_ptr<QSystemTrayIcon> m_icon;
};

} // namespace tavrik
