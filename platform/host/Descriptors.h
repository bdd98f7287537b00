// File descriptors of the host, and the results of system calls.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace host {

// A result below 0 is a negated errno.
inline bool isError(int result) { return result < 0; }

// Turns the result of a failed system call into the negated errno.
inline int resultOf(int result) { return isError(result) ? -errno : result; }

// A new descriptor of the same file, or a negated errno. The caller closes it. Its number is never
// that of a standard stream, not even when the process was started without that stream.
inline int duplicateDescriptor(int fd) {
    return resultOf(fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// Gives the file another descriptor like that, and closes the one that it had. An error stays as it
// is.
inline int moveDescriptor(int fd) {
    if (isError(fd)) {
        return fd;
    }
    const int moved = duplicateDescriptor(fd);
    close(fd);
    return moved;
}

}  // namespace host
