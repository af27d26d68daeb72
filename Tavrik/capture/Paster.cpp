#include "capture/Paster.h"

#include "base/MainQueue.h"
#include "platform/Clipboard.h"
#include "platform/PasteKeys.h"

#include <utility>

namespace tavrik {

Paster::Paster(Clipboard& clipboard, PasteKeys& keys, MainQueue& queue)
    : m_clipboard(clipboard), m_keys(keys), m_queue(queue) {}

void Paster::paste(const QString& text, Completion<void> completion) {
    m_clipboard.setText(text);
    m_keys.sendPaste([&queue = m_queue, completion = std::move(completion)](Result<void> outcome) mutable {
        queue.post([completion = std::move(completion), outcome = std::move(outcome)]() mutable {
            completion(std::move(outcome));
        });
    });
}

} // namespace tavrik
