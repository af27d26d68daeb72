#pragma once

#include "mock-server/HttpMessage.h"

#include <QSet>

namespace tavrik::backend {

class AuthService;

/// What a person sees in the browser: the page that stands in for the provider's sign-in, and the mailbox for
/// confirmations that a hosted project would send.
class BrowserPages {
public:
    /// The one address that sessions are handed to.
    static constexpr auto callback = "tavrik://auth-callback";

    explicit BrowserPages(AuthService& accounts) : m_accounts(accounts) {}

    /// GET ?provider=google&redirect_to=…: asks who is to be signed in.
    Reply authorize(const Request& request);

    /// POST of that page's form: leads back to the program, with a session or with the refusal.
    Reply authorized(const Request& request);

    /// GET: the messages that wait.
    Reply mail(const Request& request) const;

    /// GET ?token=…: confirms an address.
    Reply verify(const Request& request);

private:
    AuthService& m_accounts;
    /// Forms that have been handed out; each is good once.
    QSet<QString> m_forms;
};

} // namespace tavrik::backend
