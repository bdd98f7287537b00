// Device memory of the host: anonymous files of fixed size.
#pragma once

#include <cstddef>

namespace host {

// A new descriptor of a buffer of exactly size bytes, or a negated errno. The caller closes it. The
// buffer holds zeros, or what an earlier buffer of that size held when it was given back: see
// BufferPool in SharedBuffer.cpp.
int createSharedBuffer(const char* name, size_t size);

}  // namespace host
