#pragma once

#include "platform/Service.h"

namespace tavrik {

/// The desktop's clipboard. Main thread only.
class Clipboard : public Service {
public:
    /// Replaces whatever the clipboard held, in every format, by this plain text.
    virtual void setText(const QString& text) = 0;
};

} // namespace tavrik
