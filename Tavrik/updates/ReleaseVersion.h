#pragma once

class QStringView;

namespace tavrik {

/// Whether version `a` is newer than `b`. Versions are dotted numbers; a piece that is no number counts as 0,
/// and so does a missing one.
bool isNewer(QStringView a, QStringView b);

} // namespace tavrik
