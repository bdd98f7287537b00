// What the two ION libraries of the host share.
#pragma once

#include <ion/ion.h>

namespace host {

// Gives the buffer of a descriptor, which the device then holds, a handle. 0, or the negated errno
// that the descriptor is.
int addIonBuffer(int device, int fd, ion_user_handle_t* handle);

// A new buffer of size bytes, as host::createSharedBuffer makes it.
int createIonBuffer(size_t size);

// A descriptor of a new ION device.
int openIonDevice();

}  // namespace host
