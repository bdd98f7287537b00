// The chip's extension of ION for the host.
#include <ion/ion_vex.h>

#include <cerrno>

#include "IonBuffers.h"

int vx_ion_open(const char* /*client*/) { return host::openIonDevice(); }

int ion_alloc_mm(int fd, size_t len, size_t /*align*/, unsigned int /*flags*/,
                 ion_user_handle_t* handle) {
    return len == 0 ? -EINVAL : host::addIonBuffer(fd, host::createIonBuffer(len), handle);
}
