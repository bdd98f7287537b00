// Device memory of the host: anonymous files of fixed size.
#pragma once

#include <cstddef>

namespace host {

// A new descriptor of a buffer of exactly size bytes, or a negated errno. The caller closes it. A
// buffer holds zeros, or what it held when it was given back.
int createSharedBuffer(const char* name, size_t size);

// A new descriptor of the same buffer, or a negated errno. The caller closes it.
int duplicateDescriptor(int fd);

}  // namespace host
