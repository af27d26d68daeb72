#include "ui/account/LoginForm.h"

#include <QPointer>
#include <QTextBoundaryFinder>

namespace tavrik {

namespace {

constexpr int shortestPassword = 6;

bool hasCharacters(const QString& text, int wanted) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (count < wanted && finder.toNextBoundary() >= 0)
        ++count;
    return count == wanted;
}

std::optional<Error> errorOf(const auto& result) {
    return result ? std::nullopt : std::optional(result.error());
}

} // namespace

bool LoginForm::isSubmittable() const {
    return !m_busy && !m_email.isEmpty() && hasCharacters(m_password, shortestPassword);
}

void LoginForm::submit() {
    if (!isSubmittable())
        return;
    m_busy = true;
    m_errorMessage.clear();
    m_notice.clear();
    Q_EMIT changed();

    const QPointer<LoginForm> self(this);
    if (m_creatingAccount) {
        m_account->signUp(m_email, m_password, [self](const Result<bool>& needsConfirmation) {
            if (!self)
                return;
            if (needsConfirmation.value_or(false)) {
                self->m_notice = QStringLiteral("Check your inbox and confirm your email, then sign in.");
                self->m_creatingAccount = false;
            }
            self->finish(errorOf(needsConfirmation));
        });
    } else {
        m_account->signIn(m_email, m_password, [self](const Result<void>& result) {
            if (self)
                self->finish(errorOf(result));
        });
    }
}

void LoginForm::finish(const std::optional<Error>& error) {
    m_busy = false;
    m_errorMessage = error ? error->description : QString();
    Q_EMIT changed();
}

void LoginForm::toggleMode() {
    m_creatingAccount = !m_creatingAccount;
    m_errorMessage.clear();
    m_notice.clear();
    Q_EMIT changed();
}

} // namespace tavrik
