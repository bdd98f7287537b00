// This is the chip's extension of the ION allocator (libion_vex).
#pragma once

#include <ion/ion.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// Opens the ION device for a named client. Returns a descriptor > 0, or a negative number.
int vx_ion_open(const char* client);
// Allocates len bytes of multimedia memory. Returns 0, or a negated errno on failure.
int ion_alloc_mm(int fd, size_t len, size_t align, unsigned int flags, ion_user_handle_t* handle);

#ifdef __cplusplus
}
#endif
