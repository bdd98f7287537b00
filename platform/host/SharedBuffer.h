// The host's device memory consists of anonymous files of fixed size.
#pragma once

#include <cstddef>

namespace host {

// Returns a new descriptor of a buffer of exactly size bytes, or a negated errno. The caller closes
// it. The buffer holds zeros, or what an earlier buffer of that size held when its owner gave it
// back. BufferPool in SharedBuffer.cpp says why.
int createSharedBuffer(const char* name, size_t size);

}  // namespace host
