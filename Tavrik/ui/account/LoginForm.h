#pragma once

#include "base/DisplayedText.h"
#include "base/Result.h"
#include "ui/account/AccountModel.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace tavrik {

/// What is typed into the sign-in screen, and what becomes of it. Made anew with each screen. Main thread
/// only.
class LoginForm : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(tavrik::AccountModel* account MEMBER m_account REQUIRED)
    Q_PROPERTY(QString email MEMBER m_email NOTIFY changed)
    Q_PROPERTY(QString password MEMBER m_password NOTIFY changed)
    Q_PROPERTY(bool creatingAccount READ isCreatingAccount NOTIFY changed)
    Q_PROPERTY(bool busy READ isBusy NOTIFY changed)
    Q_PROPERTY(bool submittable READ isSubmittable NOTIFY changed)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY changed)
    Q_PROPERTY(QString notice READ notice NOTIFY changed)

public:
    using QObject::QObject;

    bool isCreatingAccount() const { return m_creatingAccount; }
    /// A request is running.
    bool isBusy() const { return m_busy; }
    /// An address, and a password of six characters as a reader counts them; nothing else is checked.
    bool isSubmittable() const;
    /// Why the last request failed, as much as is shown of it; empty if it did not.
    QString errorMessage() const { return displayedText(m_errorMessage); }
    QString notice() const { return m_notice; }

    /// Signs in, or creates the account; does nothing unless submittable.
    Q_INVOKABLE void submit();
    /// Changes between signing in and creating an account.
    Q_INVOKABLE void toggleMode();

Q_SIGNALS:
    void changed();

private:
    void finish(const std::optional<Error>& error);

    AccountModel* m_account = nullptr;
    QString m_email;
    QString m_password;
    QString m_errorMessage;
    QString m_notice;
    bool m_creatingAccount = false;
    bool m_busy = false;
};

} // namespace tavrik
