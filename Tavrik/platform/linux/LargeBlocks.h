#pragma once

namespace tavrik {

/// From now on a large block of memory goes back to the system as soon as it is freed. The C library's own
/// rule keeps as much as the largest block it has ever freed, in every thread: megabytes after one long
/// recording or reply.
void returnLargeBlocks();

} // namespace tavrik
