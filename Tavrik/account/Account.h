#pragma once

#include "base/Result.h"

#include <QString>

#include <functional>

namespace tavrik {

/// What the rest of the program asks of the signed-in user. Main thread only.
class Account {
public:
    Account() = default;
    Account(const Account&) = delete;
    Account& operator=(const Account&) = delete;
    virtual ~Account() = default;

    virtual bool isSignedIn() const = 0;

    /// Calls back once it is known whether somebody is signed in: before it returns if it is, else later
    /// through the main queue, after one second at the most.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): what overrides it keeps the callback.
    virtual void whenKnown(std::function<void()> callback) { callback(); }

    /// Delivers an access token that can still be used, refreshed first where needed, or an error. May call
    /// the completion before it returns, on the calling thread.
    virtual void withValidAccessToken(Completion<QString> completion) = 0;
};

} // namespace tavrik
