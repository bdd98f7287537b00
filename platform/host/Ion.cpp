// ION and the chip's extension of it for the host: a handle stands for a descriptor of shared
// anonymous memory, which the device owns.
#include <ion/ion_vex.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <map>

#include "SharedBuffer.h"

namespace {

using host::isError;
using host::resultOf;

struct Buffer {
    int device;
    int fd;
};

// Buffers of all open devices by handle. Handles are never reused, so a stale one is an error.
std::map<ion_user_handle_t, Buffer>& buffers() {
    static std::map<ion_user_handle_t, Buffer> all;
    return all;
}

const Buffer* findBuffer(int device, ion_user_handle_t handle) {
    const auto found = buffers().find(handle);
    return found == buffers().end() || found->second.device != device ? nullptr : &found->second;
}

// Registers the buffer of the descriptor, which the device then owns, under a new handle. Returns
// 0. If fd is a negated errno, returns that.
int addBuffer(int device, int fd, ion_user_handle_t* handle) {
    static ion_user_handle_t last = 0;
    if (isError(fd)) {
        return fd;
    }
    buffers()[++last] = {device, fd};
    *handle = last;
    return 0;
}

}  // namespace

int vx_ion_open(const char* /*client*/) {
    // The cheapest real descriptor is an eventfd. Nothing reads from it.
    const int plain = resultOf(eventfd(0, EFD_CLOEXEC));
    if (isError(plain)) {
        return plain;
    }
    const int device = host::duplicateDescriptor(plain);
    close(plain);
    return device;
}

int ion_alloc_mm(int fd, size_t len, size_t /*align*/, unsigned int /*flags*/,
                 ion_user_handle_t* handle) {
    return len == 0 ? -EINVAL : addBuffer(fd, host::createSharedBuffer("ion", len), handle);
}

int ion_close(int fd) {
    for (auto it = buffers().begin(); it != buffers().end();) {
        if (it->second.device == fd) {
            close(it->second.fd);
            it = buffers().erase(it);
        } else {
            ++it;
        }
    }
    return resultOf(close(fd));
}

int ion_import(int fd, int share_fd, ion_user_handle_t* handle) {
    return addBuffer(fd, host::duplicateDescriptor(share_fd), handle);
}

int ion_free(int fd, ion_user_handle_t handle) {
    const Buffer* buffer = findBuffer(fd, handle);
    if (buffer == nullptr) {
        return -EINVAL;
    }
    close(buffer->fd);
    buffers().erase(handle);
    return 0;
}

int ion_share(int fd, ion_user_handle_t handle, int* share_fd) {
    const Buffer* buffer = findBuffer(fd, handle);
    if (buffer == nullptr) {
        return -EINVAL;
    }
    const int shared = host::duplicateDescriptor(buffer->fd);
    if (isError(shared)) {
        return shared;
    }
    *share_fd = shared;
    return 0;
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
