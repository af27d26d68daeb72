#pragma once

#include "platform/PlatformTexts.h"

namespace tavrik {

/// The texts for any Linux desktop; `dataFolder` is shown with the home folder abbreviated.
PlatformTexts linuxTexts(const QString& dataFolder);

} // namespace tavrik
