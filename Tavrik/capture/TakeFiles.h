#pragma once

class QString;

namespace tavrik {

/// A path in the folder for the file of a new take.
QString newTakePath(const QString& folder);

/// Deletes the takes that programs of this user left in the folder when they were killed. One that is still
/// in use is locked (see WavFile), and stays. Any thread.
void removeLeftoverTakes(const QString& folder);

} // namespace tavrik
