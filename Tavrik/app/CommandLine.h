#pragma once

#include "base/CommandStreams.h"

#include <QByteArrayList>

#include <functional>
#include <memory>
#include <variant>

namespace tavrik {

class PreferenceStore;

/// The running program is to tell how the services of the desktop serve it; where none runs, they are probed.
struct ShowStatus {};

using Command = std::variant<ExitStatus, ShowStatus>;

/// Does what the arguments (without the program's name) ask for and returns the exit status, or says what the
/// program is to do. Launches and the commands of the hot key do not come this far. Needs no display.
/// `makeStore` is called for the command that needs the preferences.
Command runCommandLine(const QByteArrayList& arguments,
                       const std::function<std::unique_ptr<PreferenceStore>()>& makeStore,
                       const CommandStreams& streams);

} // namespace tavrik
