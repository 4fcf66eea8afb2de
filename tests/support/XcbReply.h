#pragma once

#include <cstdlib>
#include <memory>

namespace testsupport {

/// xcb hands out replies, events and errors allocated with malloc; this frees them with free.
struct FreeDeleter
{
    void operator()(void* p) const noexcept { std::free(p); }
};

template <typename T>
using XcbReply = std::unique_ptr<T, FreeDeleter>;

} // namespace testsupport
