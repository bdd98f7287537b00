// These are the host's ION and the chip's extension of it. A handle is a descriptor of shared
// anonymous memory. The device is a descriptor that nothing is read from.
#include <ion/ion_vex.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "Descriptors.h"
#include "SharedBuffer.h"

namespace {

using host::resultOf;

// Stores the descriptor for the caller and returns 0. Returns an error without storing it.
int give(int descriptor, int* to) {
    if (host::isError(descriptor)) {
        return descriptor;
    }
    *to = descriptor;
    return 0;
}

}  // namespace

int vx_ion_open(const char* /*client*/) {
    return host::moveDescriptor(resultOf(eventfd(0, EFD_CLOEXEC)));
}

int ion_close(int fd) { return resultOf(close(fd)); }

int ion_alloc_mm(int /*fd*/, size_t len, size_t /*align*/, unsigned int /*flags*/,
                 ion_user_handle_t* handle) {
    return give(host::createSharedBuffer("ion", len), handle);
}

int ion_import(int /*fd*/, int share_fd, ion_user_handle_t* handle) {
    return give(host::duplicateDescriptor(share_fd), handle);
}

int ion_free(int /*fd*/, ion_user_handle_t handle) { return resultOf(close(handle)); }

int ion_share(int /*fd*/, ion_user_handle_t handle, int* share_fd) {
    return give(host::duplicateDescriptor(handle), share_fd);
}

int ion_map(int fd, ion_user_handle_t handle, size_t length, int prot, int flags, off_t offset,
            unsigned char** ptr, int* map_fd) {
    int shared = -1;
    const int status = ion_share(fd, handle, &shared);
    if (status != 0) {
        return status;
    }
    void* address = mmap(nullptr, length, prot, flags, shared, offset);
    if (address == MAP_FAILED) {
        const int error = -errno;
        close(shared);
        return error;
    }
    *ptr = static_cast<unsigned char*>(address);
    *map_fd = shared;
    return 0;
}
