#pragma once

class QString;

namespace tavrik {

/// Delivers text into the application that has the keyboard focus. Main thread only.
class AbstractPaster {
public:
    AbstractPaster() = default;
    AbstractPaster(const AbstractPaster&) = delete;
    AbstractPaster& operator=(const AbstractPaster&) = delete;
    virtual ~AbstractPaster() = default;

    /// Puts the text on the clipboard and sends the paste shortcut where that is permitted. Reports nothing.
    virtual void paste(const QString& text) = 0;
};

} // namespace tavrik
