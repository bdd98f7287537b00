// What the two ION libraries of the host share.
#pragma once

#include <ion/ion.h>

namespace host {

// Registers the buffer of the descriptor, which the device then owns, under a new handle. Returns
// 0. If fd is a negated errno, returns that.
int addIonBuffer(int device, int fd, ion_user_handle_t* handle);

// A new buffer of size bytes, as host::createSharedBuffer makes it.
int createIonBuffer(size_t size);

// A descriptor of a new ION device.
int openIonDevice();

}  // namespace host
