#pragma once

#include <QString>

namespace tavrik {

/// The version of this program, as every place shows it: "1.2.3".
QString appVersion();

} // namespace tavrik
