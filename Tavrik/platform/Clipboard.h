#pragma once

class QString;

namespace tavrik {

/// The desktop's clipboard. Main thread only.
class Clipboard {
public:
    Clipboard() = default;
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;
    virtual ~Clipboard() = default;

    /// Replaces whatever the clipboard held, in every format, by this plain text.
    virtual void setText(const QString& text) = 0;
};

} // namespace tavrik
