// This is the ION allocator (libion). Every call returns 0, or a negated errno on failure.
#pragma once

#include <stddef.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int ion_user_handle_t;

int ion_close(int fd);
int ion_free(int fd, ion_user_handle_t handle);
// Maps length bytes. *map_fd becomes a new descriptor of the buffer, which the caller closes.
int ion_map(int fd, ion_user_handle_t handle, size_t length, int prot, int flags, off_t offset,
            unsigned char** ptr, int* map_fd);
// *share_fd becomes a new descriptor of the buffer, which the caller closes.
int ion_share(int fd, ion_user_handle_t handle, int* share_fd);
int ion_import(int fd, int share_fd, ion_user_handle_t* handle);

#ifdef __cplusplus
}
#endif
