#pragma once

namespace tavrik {

/// Whether the desktop starts this program when the user logs in. Main thread only.
class LoginItem {
public:
    LoginItem() = default;
    LoginItem(const LoginItem&) = delete;
    LoginItem& operator=(const LoginItem&) = delete;
    virtual ~LoginItem() = default;

    /// As it is now, whoever arranged it.
    virtual bool isEnabled() const = 0;

    /// Returns at once; isEnabled() tells whether it took effect.
    virtual void setEnabled(bool enabled) = 0;
};

} // namespace tavrik
