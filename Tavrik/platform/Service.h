#pragma once

#include <QObject>
#include <QString>

namespace tavrik {

/// What serves the program in one respect, and whether it can.
struct ServiceStatus {
    /// The technical name of the backend ("X11 grab"), or "none".
    QString backend;
    bool works = false;
    /// Why it does not work, or works with a restriction: a sentence for the user. Otherwise empty.
    QString reason = {};
    /// What the user may be offered to do about it, on a button ("Ask Again"): the permission is requested
    /// PermissionRequest::byUser. Empty if nothing.
    QString remedy = {};

    bool operator==(const ServiceStatus&) const = default;
};

/// A service of the desktop, which may be missing, and may come and go while the program runs. Main thread
/// only.
class Service : public QObject {
    Q_OBJECT

public:
    Service() = default;
    ~Service() override;

    virtual ServiceStatus status() const = 0;

Q_SIGNALS:
    void statusChanged();
};

/// A service under the name that users and `tavrik status` know it by ("hot key").
struct NamedService {
    QString name;
    const Service* service;
};

} // namespace tavrik
