#pragma once

#include "platform/KeyCombination.h"

#include <QString>

namespace tavrik {

/// The combination as portals take it ("CTRL+ALT+space"), the key by its name on an American keyboard; empty
/// if there is no such key.
QString portalTrigger(KeyCombination combination);

} // namespace tavrik
