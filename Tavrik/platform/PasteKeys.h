#pragma once

namespace tavrik {

/// The shortcut that pastes, sent to the focused window as if typed. Main thread only.
class PasteKeys {
public:
    PasteKeys() = default;
    PasteKeys(const PasteKeys&) = delete;
    PasteKeys& operator=(const PasteKeys&) = delete;
    virtual ~PasteKeys() = default;

    /// Whether this program may synthesise keys. Asks nobody.
    virtual bool isTrusted() const = 0;

    /// Asks the user for that permission where the desktop wants it. Returns at once.
    virtual void requestTrust() = 0;

    /// Sends the keys, at once when no modifier is held, else as soon as the user has let go (within a
    /// bound).
    virtual void sendPaste() = 0;
};

} // namespace tavrik
