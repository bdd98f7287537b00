// Device memory of the host: anonymous files of fixed size.
#pragma once

#include <cerrno>
#include <cstddef>

namespace host {

// A result below 0 is a negated errno.
inline bool isError(int result) { return result < 0; }

// Turns the result of a failed system call into the negated errno.
inline int resultOf(int result) { return isError(result) ? -errno : result; }

// A new descriptor of a buffer of exactly size bytes, or a negated errno. The caller closes it. The
// buffer holds zeros, or what an earlier buffer of that size held when its last descriptor was
// closed.
int createSharedBuffer(const char* name, size_t size);

// A new descriptor of the same buffer, or a negated errno. The caller closes it.
int duplicateDescriptor(int fd);

}  // namespace host
