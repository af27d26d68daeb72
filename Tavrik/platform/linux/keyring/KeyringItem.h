#pragma once

#include <optional>
#include <string>

// The program's one item in the user's Secret Service. Every function may wait for the service or for the
// user, even for ever.

namespace tavrik {

/// The item's secret; nothing if there is no item or no service. Waits for the unlocking of a locked item:
/// asks the user for it, and notices when it is done in another way. That wait ends when the other end of
/// `pipe` is closed.
std::optional<std::string> readKeyringItem(int pipe);

/// Deletes the item, if there is one, and adds it anew.
void replaceKeyringItem(const std::string& secret);

void removeKeyringItem();

} // namespace tavrik
