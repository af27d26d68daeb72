#pragma once

#include "platform/KeyCombination.h"

#include <QString>

namespace tavrik {

/// The combination as portals take it ("CTRL+ALT+space"), the key by its name on an American keyboard; empty
/// if there is no such key.
QString portalTrigger(KeyCombination combination);

/// The combination as GNOME's settings write it ("<Control><Alt>space"); empty as above.
QString gnomeTrigger(KeyCombination combination);

/// The combination as Qt's number (Qt::ALT | Qt::Key_Space), as KDE's services take it; 0 where unknown.
int qtTrigger(KeyCombination combination);

} // namespace tavrik
