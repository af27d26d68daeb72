#pragma once

#include "capture/AbstractPaster.h"

namespace tavrik {

class Clipboard;
class PasteKeys;

/// Pastes through the clipboard, where the text then stays. Without permission to send keys it is only put
/// there.
class Paster : public AbstractPaster {
public:
    Paster(Clipboard& clipboard, PasteKeys& keys);

    void paste(const QString& text) override;

private:
    Clipboard& m_clipboard;
    PasteKeys& m_keys;
};

} // namespace tavrik
