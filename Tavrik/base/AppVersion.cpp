#include "base/AppVersion.h"

namespace tavrik {

QString appVersion() {
    return QStringLiteral(TAVRIK_VERSION);
}

} // namespace tavrik
