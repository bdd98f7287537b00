#include "SharedBuffer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

// Gives the file its memory, as a device's allocator does: in bulk, which is faster than page by
// page on first use, and so that a lack of memory shows here.
int fillWithZeros(int file, size_t size) {
    static const char zeros[1 << 18] = {};
    for (size_t done = 0; done < size;) {
        const ssize_t written =
            pwrite(file, zeros, std::min(size - done, sizeof zeros), static_cast<off_t>(done));
        if (written <= 0) {
            return written == 0 ? -ENOMEM : -errno;
        }
        done += static_cast<size_t>(written);
    }
    return 0;
}

}  // namespace

namespace host {

int duplicateDescriptor(int fd) {
    // Never a standard stream's number, even when the caller closed that stream.
    const int copy = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    return copy < 0 ? -errno : copy;
}

int createSharedBuffer(const char* name, size_t size) {
    const int file = memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (file < 0) {
        return -errno;
    }
    int result = fillWithZeros(file, size);
    if (result == 0 && fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW) != 0) {
        result = -errno;
    }
    if (result == 0 && file <= STDERR_FILENO) {
        result = duplicateDescriptor(file);
    } else if (result == 0) {
        return file;
    }
    close(file);
    return result;
}

}  // namespace host
