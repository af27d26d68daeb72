#pragma once

#include "platform/Clipboard.h"

namespace tavrik {

/// The clipboard through Qt, which also hands it to a clipboard manager when the application object is
/// destroyed.
class QtClipboard : public Clipboard {
public:
    ServiceStatus status() const override;
    void setText(const QString& text) override;

    /// Offers our text, in one line, as the selection too, where there is one and while the clipboard is
    /// still ours.
    void offerAsSelection();
};

} // namespace tavrik
