#pragma once

#include <QString>

namespace tavrik {

/// The function of that name in one of the program's modules: parts of it that are loaded when they are first
/// needed. Null where the module is not installed. Any thread.
QFunctionPointer moduleFunction(const QString& module, const char* name);

} // namespace tavrik
