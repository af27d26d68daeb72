#include "capture/Paster.h"

#include "platform/Clipboard.h"
#include "platform/PasteKeys.h"

namespace tavrik {

Paster::Paster(Clipboard& clipboard, PasteKeys& keys) : m_clipboard(clipboard), m_keys(keys) {}

void Paster::paste(const QString& text) {
    m_clipboard.setText(text);
    if (m_keys.isTrusted())
        m_keys.sendPaste();
}

} // namespace tavrik
