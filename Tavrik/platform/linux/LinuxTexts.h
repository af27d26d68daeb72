#pragma once

#include "platform/PlatformTexts.h"

namespace tavrik {

/// The texts for any Linux desktop; `dataFolder` is shown with the home folder abbreviated. `command` is what
/// a shell calls the program.
PlatformTexts linuxTexts(const QString& dataFolder, const QString& command);

} // namespace tavrik
