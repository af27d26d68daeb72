#pragma once

#include "base/Error.h"

#include <expected>
#include <functional>

namespace tavrik {

/// A value, or the error that took its place.
template<class T>
using Result = std::expected<T, Error>;

/// Receives the outcome of one operation, exactly once. The operation's own comment says on which thread.
template<class T>
using Completion = std::function<void(Result<T>)>;

} // namespace tavrik
