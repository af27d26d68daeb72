#pragma once

#include "base/Result.h"

#include <QObject>
#include <QVariantMap>

namespace tavrik {

class PortalConnection;

/// What a portal answers when the user, or the desktop on the user's behalf, has decided.
struct PortalResponse {
    static constexpr uint success = 0;
    static constexpr uint cancelled = 1; // by the user
    static constexpr uint ended = 2;     // in some other way

    uint code = ended;
    QVariantMap results;
};

/// One call of a portal method that answers by a Request's Response signal. Lives until the answer, or as
/// long as its owner; the desktop's dialog is closed if the owner goes first. Main thread only.
class PortalRequest final : public QObject {
    Q_OBJECT

public:
    /// Calls the method with `options` as its last argument, a handle token added. `done` is called once,
    /// never within this call: with the response, whatever its code, or with an error if there is none. Not
    /// called once the owner is gone. The connection must outlive the owner.
    static void send(PortalConnection& portal, QObject& owner, const QString& interface,
                     const QString& method, QVariantList arguments, QVariantMap options,
                     Completion<PortalResponse> done);

    ~PortalRequest() override;

private Q_SLOTS:
    void respond(uint code, const QVariantMap& results);

private:
    PortalRequest(PortalConnection& portal, QObject& owner, Completion<PortalResponse> done);
    void finish(Result<PortalResponse> response);

    PortalConnection& m_portal;
    Completion<PortalResponse> m_done;
    QString m_path;
};

} // namespace tavrik
