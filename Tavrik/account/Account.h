#pragma once

#include "base/Result.h"

#include <QString>

namespace tavrik {

/// What the rest of the program asks of the signed-in user. Main thread only.
class Account {
public:
    Account() = default;
    Account(const Account&) = delete;
    Account& operator=(const Account&) = delete;
    virtual ~Account() = default;

    virtual bool isSignedIn() const = 0;

    /// Delivers an access token that can still be used, refreshed first where needed, or an error. May call the
    /// completion before it returns, on the calling thread.
    virtual void withValidAccessToken(Completion<QString> completion) = 0;
};

} // namespace tavrik
