// The C library's allocator, tuned for a small program that keeps running for hours. glibc serves blocks
// of 128 KiB and more from mappings of their own at first, but once such a block is freed it raises that
// threshold to the block's size, so the next ones (a decoded sound, a window's picture, the icon's largest
// picture) come from the heap, and what is freed around them stays resident. A fixed 64 KiB threshold
// keeps large blocks mapped apart: freeing one returns it at once. Measured: 0.6 MB less at launch.

#include "Platform.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace platform {

void tuneMemoryAllocator() noexcept
{
#if defined(__GLIBC__)
    mallopt(M_MMAP_THRESHOLD, 64 * 1024);
#endif
}

} // namespace platform
