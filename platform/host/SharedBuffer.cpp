#include "SharedBuffer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

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
    int result = 0;
    if (ftruncate(file, static_cast<off_t>(size)) != 0 ||
        fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW) != 0) {
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
