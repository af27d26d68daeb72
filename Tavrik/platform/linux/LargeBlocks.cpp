#include "platform/linux/LargeBlocks.h"

#include <malloc.h>

namespace tavrik {

void returnLargeBlocks() {
    // The value is the one it starts with; setting it keeps it there.
    constexpr int bytes = 128 * 1024;
    ::mallopt(M_MMAP_THRESHOLD, bytes);
}

} // namespace tavrik
