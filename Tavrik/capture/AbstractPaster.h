#pragma once

#include "base/Result.h"

class QString;

namespace tavrik {

/// Delivers text into the application that has the keyboard focus. Main thread only.
class AbstractPaster {
public:
    AbstractPaster() = default;
    AbstractPaster(const AbstractPaster&) = delete;
    AbstractPaster& operator=(const AbstractPaster&) = delete;
    virtual ~AbstractPaster() = default;

    /// Puts the text on the clipboard and sends the paste shortcut. Returns once both are under way. The
    /// completion is called once, from the main queue: when the text was pasted, or, if it was left on the
    /// clipboard, with the reason, a sentence for the user.
    virtual void paste(const QString& text, Completion<void> completion) = 0;
};

} // namespace tavrik
