#pragma once

#include "mock-server/Http.h"

#include <QSet>

namespace tavrik::mock {

class AuthService;

/// The pages a user sees in the browser: a sign-in page in place of the provider's, and the mailbox with the
/// confirmations that a hosted project would send.
class BrowserPages {
public:
    /// The only redirect URL allowed.
    static constexpr auto callback = "tavrik://auth-callback";

    explicit BrowserPages(AuthService& accounts) : m_accounts(accounts) {}

    /// GET ?provider=google&redirect_to=…: the sign-in form.
    Reply authorize(const Request& request);

    /// POST of that form: redirects to the program with a session or an error.
    Reply authorized(const Request& request);

    /// GET: the open confirmations.
    Reply mail(const Request& request) const;

    /// GET ?token=…: confirms an address.
    Reply verify(const Request& request);

private:
    AuthService& m_accounts;
    /// One-time tokens of the forms served.
    QSet<QString> m_forms;
};

} // namespace tavrik::mock
