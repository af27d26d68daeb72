#pragma once

// The XKB header names a structure's member "explicit".
#define explicit explicitComponents
#include <xcb/xkb.h>
#undef explicit

#include <cstdlib>
#include <memory>

namespace tavrik {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

/// What xcb hands out: replies, events and errors.
template<class T>
using XcbPointer = std::unique_ptr<T, FreeDeleter>;

} // namespace tavrik
