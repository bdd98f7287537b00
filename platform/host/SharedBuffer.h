// Device memory of the host: anonymous files of fixed size.
#pragma once

#include <cerrno>
#include <cstddef>

namespace host {

// Results here are negated errnos when they are errors.
inline bool isError(int result) { return result < 0; }

// A system call's result, or the negated errno of a failed one.
inline int resultOf(int result) { return isError(result) ? -errno : result; }

// A new descriptor of a buffer of exactly size bytes, or a negated errno. The caller closes it. A
// buffer holds zeros, or what it held when it was given back.
int createSharedBuffer(const char* name, size_t size);

// A new descriptor of the same buffer, or a negated errno. The caller closes it.
int duplicateDescriptor(int fd);

}  // namespace host
