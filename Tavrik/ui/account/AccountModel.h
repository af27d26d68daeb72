#pragma once

#include "base/Result.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

class AuthStore;
class LinkOpener;

/// The account, as views show it and act on it. Main thread only.
class AccountModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Views are given it.")
    Q_PROPERTY(bool known READ isKnown NOTIFY knownChanged)
    Q_PROPERTY(bool signedIn READ isSignedIn NOTIFY sessionChanged)
    Q_PROPERTY(QString email READ email NOTIFY sessionChanged)
    Q_PROPERTY(QString userName READ userName CONSTANT)
    Q_PROPERTY(bool hasBackend READ hasBackend CONSTANT)
    Q_PROPERTY(QString lastOAuthError READ lastOAuthError NOTIFY lastOAuthErrorChanged)

public:
    /// `userName` is the full name of the computer's user. The store and `links` must outlive this.
    AccountModel(AuthStore& store, LinkOpener& links, QString userName, QObject* parent = nullptr);

    /// Whether it has been found out if somebody is signed in.
    bool isKnown() const { return m_known; }
    bool isSignedIn() const;
    /// The session's address, or that there is none.
    QString email() const;
    QString userName() const { return m_userName; }
    /// Whether this build has a server to sign in to.
    bool hasBackend() const;
    /// Why the latest sign-in in the browser failed, as much as is shown of it; empty if it did not.
    QString lastOAuthError() const;

    /// Opens the browser. The outcome shows in signedIn or lastOAuthError.
    Q_INVOKABLE void signInWithGoogle();
    Q_INVOKABLE void signOut();

    /// As AuthStore's: completions are called on the main queue, once.
    void signIn(const QString& email, const QString& password, Completion<void> completion);
    void signUp(const QString& email, const QString& password, Completion<bool> completion);

Q_SIGNALS:
    void knownChanged();
    void sessionChanged();
    void lastOAuthErrorChanged();

private:
    AuthStore& m_store;
    LinkOpener& m_links;
    const QString m_userName;
    bool m_known = false;
};

} // namespace tavrik
