#pragma once

#include "platform/Folders.h"

#include <QString>

// The XDG base directories. A variable that is empty or not an absolute path is ignored.
namespace tavrik {

/// This program's folders.
Folders xdgFolders();

/// Where programs keep their configuration.
QString xdgConfigFolder();

/// The file of this program's preferences.
QString xdgPreferencesFile();

} // namespace tavrik
