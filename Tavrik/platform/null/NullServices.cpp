#include "platform/null/NullServices.h"

namespace tavrik {

std::unique_ptr<HotKeyBackend::Registration>
NullHotKeyBackend::registerHotKey(KeyCombination, PermissionRequest, Handlers handlers) {
    handlers.settled();
    return std::make_unique<NullService<Registration>>(status().reason);
}

void NullPasteKeys::sendPaste(Completion<void> completion) {
    completion(std::unexpected(Error{status().reason}));
}

} // namespace tavrik
