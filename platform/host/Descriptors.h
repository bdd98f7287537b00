// These functions handle the host's file descriptors and the results of system calls.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace host {

// A result below 0 is a negated errno.
inline bool isError(int result) { return result < 0; }

// Turns the result of a failed system call into the negated errno.
inline int resultOf(int result) { return isError(result) ? -errno : result; }

// Returns a new descriptor of the same file, or a negated errno. The caller closes it. Its number
// is never that of a standard stream, even if the process was started without that stream.
inline int duplicateDescriptor(int fd) {
    return resultOf(fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// Duplicates the descriptor in the same way, closes it, and returns the new one or a negated errno.
// If fd is an error, this returns it unchanged.
inline int moveDescriptor(int fd) {
    if (isError(fd)) {
        return fd;
    }
    const int moved = duplicateDescriptor(fd);
    close(fd);
    return moved;
}

}  // namespace host
