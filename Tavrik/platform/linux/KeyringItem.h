#pragma once

#include <QByteArray>

#include <gio/gio.h>

#include <optional>

// The program's one item in the user's Secret Service. Every function may wait for the service or for the
// user, even for ever: for threads that can afford it.

namespace tavrik {

/// The item's secret; nothing if there is no item or no service. Waits for the unlocking of a locked item:
/// asks the user for it, and notices when it is done in another way. Cancelling ends that wait.
std::optional<QByteArray> readKeyringItem(GCancellable* cancellable);

/// Deletes the item, if there is one, and adds it anew.
void replaceKeyringItem(const QByteArray& secret);

void removeKeyringItem();

} // namespace tavrik
