#pragma once

#include "platform/HotKeyBackend.h"

#include <QString>

class QProcessEnvironment;

namespace tavrik {

/// The lines that bind Tavrik's commands to the combination, in the language of the compositor that the
/// environment tells of, or the bare commands. `command` is what a shell calls the program.
KeyBindings keyBindingLines(KeyCombination combination, const QString& command,
                            const QProcessEnvironment& environment);

/// What starts this program in a shell: its name if a search of PATH finds this very file, else the whole
/// path.
QString shellCommand(const QString& program);

} // namespace tavrik
