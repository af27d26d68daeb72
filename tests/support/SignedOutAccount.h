#pragma once

#include "account/Account.h"
#include "account/AuthError.h"

namespace tavrik {

/// The account of a user who has never signed in.
class SignedOutAccount final : public Account {
public:
    bool isSignedIn() const override { return false; }
    void withValidAccessToken(Completion<QString> completion) override {
        completion(std::unexpected(authError::notSignedIn()));
    }
};

} // namespace tavrik
