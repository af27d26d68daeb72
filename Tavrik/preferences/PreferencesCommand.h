#pragma once

#include "base/CommandStreams.h"

#include <QStringList>

namespace tavrik {

class PreferenceStore;

/// `tavrik preferences`: reads and writes preferences for people and scripts. `arguments` are those after
/// that word:
///   get KEY         the stored value; with nothing usable stored the default, and exitFailure
///   set KEY VALUE   a value of "-" is one line of the input
///   unset KEY
///   list            every preference, the personal key masked, and whatever else is stored
/// Returns the exit status.
ExitStatus runPreferencesCommand(const QStringList& arguments, PreferenceStore& store,
                                 const CommandStreams& streams);

} // namespace tavrik
