#pragma once

#include "base/Result.h"

#include <QString>

#include <functional>

namespace tavrik {

/// The signed-in user, for the rest of the program. Main thread only.
class Account {
public:
    Account() = default;
    Account(const Account&) = delete;
    Account& operator=(const Account&) = delete;
    virtual ~Account() = default;

    virtual bool isSignedIn() const = 0;

    /// Calls back once the stored session has been read: before it returns if it has, else through the main
    /// queue, after one second at most.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): overrides store the callback.
    virtual void whenSessionLoaded(std::function<void()> callback) { callback(); }

    /// Delivers a valid access token, refreshed first if needed, or an error. The completion may be called
    /// before it returns.
    virtual void withValidAccessToken(Completion<QString> completion) = 0;
};

} // namespace tavrik
