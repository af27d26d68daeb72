#pragma once

#include "base/Result.h"

#include <QObject>
#include <QString>

#include <span>

namespace tavrik {

class PortalConnection;

/// One session of the RemoteDesktop portal, with a keyboard. Destroying it closes the session, and the dialog
/// it may have open. Main thread only.
class RemoteDesktopSession final : public QObject {
    Q_OBJECT

public:
    /// The desktop's decision on opening a session.
    struct Opening {
        bool allowed = false;
        /// Opens the next session without a question; empty if the desktop gives none.
        QString nextToken;
    };

    struct KeyEvent {
        /// An evdev key code.
        int key;
        bool pressed;
    };

    /// The connection must outlive the session.
    RemoteDesktopSession(PortalConnection& portal, QObject* parent);
    ~RemoteDesktopSession() override;

    /// Opens the session, once; asks the user unless the token of an earlier one is still good. `done` is
    /// called once, never within this call, with the error if it never came to a decision. Not called once
    /// the session is gone; may destroy it by deleteLater().
    void open(const QString& token, Completion<Opening> done);

    /// Sends key events, one after another, in an open session. The events must last until `done` is called:
    /// as open() does, with the first error if there is one.
    void send(std::span<const KeyEvent> events, Completion<void> done);

private:
    void selectKeyboard(const QString& token, const Completion<Opening>& done);
    void start(const Completion<Opening>& done);

    PortalConnection& m_portal;
    /// The session's object path; empty before there is one.
    QString m_path;
};

} // namespace tavrik
