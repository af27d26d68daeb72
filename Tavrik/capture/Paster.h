#pragma once

#include "capture/AbstractPaster.h"

namespace tavrik {

class Clipboard;
class MainQueue;
class PasteKeys;

/// Pastes through the clipboard, where the text then stays.
class Paster : public AbstractPaster {
public:
    Paster(Clipboard& clipboard, PasteKeys& keys, MainQueue& queue);

    void paste(const QString& text, Completion<void> completion) override;

private:
    Clipboard& m_clipboard;
    PasteKeys& m_keys;
    MainQueue& m_queue;
};

} // namespace tavrik
