#include "ui/account/AccountModel.h"

#include "account/AuthStore.h"
#include "base/DisplayedText.h"
#include "platform/LinkOpener.h"

#include <QPointer>
#include <QUrl>

#include <utility>

namespace tavrik {

AccountModel::AccountModel(AuthStore& store, LinkOpener& links, QString userName, QObject* parent)
    : QObject(parent), m_store(store), m_links(links), m_userName(std::move(userName)) {
    connect(&store, &AuthStore::sessionChanged, this, &AccountModel::sessionChanged);
    connect(&store, &AuthStore::lastOAuthErrorChanged, this, &AccountModel::lastOAuthErrorChanged);
    store.whenSessionLoaded([self = QPointer<AccountModel>(this)] {
        if (!self)
            return;
        self->m_known = true;
        Q_EMIT self->knownChanged();
    });
}

bool AccountModel::isSignedIn() const {
    return m_store.session().has_value();
}

QString AccountModel::email() const {
    const auto& session = m_store.session();
    return session ? session->email : QStringLiteral("Not signed in");
}

bool AccountModel::hasBackend() const {
    return !m_store.googleSignInURL().isEmpty();
}

QString AccountModel::lastOAuthError() const {
    return displayedText(m_store.lastOAuthError().value_or(QString()));
}

void AccountModel::signInWithGoogle() {
    m_store.clearLastOAuthError();
    m_links.open(m_store.googleSignInURL());
}

void AccountModel::signOut() {
    m_store.signOut();
}

void AccountModel::signIn(const QString& email, const QString& password, Completion<void> completion) {
    m_store.signIn(email, password, std::move(completion));
}

void AccountModel::signUp(const QString& email, const QString& password, Completion<bool> completion) {
    m_store.signUp(email, password, std::move(completion));
}

} // namespace tavrik
