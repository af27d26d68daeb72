#pragma once

class QStringView;

namespace tavrik {

/// Whether version `a` is newer than `b`. Versions are dotted numbers; a piece that is missing or not
/// a number counts as 0.
bool isNewer(QStringView a, QStringView b);

} // namespace tavrik
