#pragma once

#include <QJsonObject>
#include <QString>

namespace tavrik {

/// What must be remembered between launches about the permissions that portals give: what the user was asked
/// already, and the token that opens the next session without a question. Kept in a JSON file that only the
/// user can read; one that is missing or broken remembers nothing. A change is written at once; if that
/// fails, it holds for this process. Main thread only.
class PortalGrants {
public:
    /// The file, in a folder that need not exist yet.
    explicit PortalGrants(const QString& path);
    PortalGrants(const PortalGrants&) = delete;
    PortalGrants& operator=(const PortalGrants&) = delete;

    /// Whether the user was asked about the shortcut with this id.
    bool wasAskedForShortcut(const QString& id) const;
    void setAskedForShortcut(const QString& id);

    /// Whether the desktop assigned the shortcut with this id when it was last asked to.
    bool isShortcutGranted(const QString& id) const;
    void setShortcutGranted(const QString& id, bool granted);

    /// Whether the user was asked about pasting.
    bool wasAskedForPasting() const;
    void setAskedForPasting();

    /// Opens the next RemoteDesktop session without a question; empty if there is none. It is a secret: never
    /// to be shown or logged. Good for one session, which gives the next one.
    QString pasteToken() const;
    void setPasteToken(const QString& token);

private:
    void set(const QString& key, const QJsonValue& value);

    QString m_path;
    QJsonObject m_grants;
};

} // namespace tavrik
