// DMA-BUF heap allocator (libdmabufheap), C interface.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct BufferAllocator BufferAllocator;

BufferAllocator* CreateDmabufHeapBufferAllocator(void);
void FreeDmabufHeapBufferAllocator(BufferAllocator* buffer_allocator);

// Allocates len bytes on the named heap; a descriptor that the caller closes, or a negated errno.
int DmabufHeapAlloc(BufferAllocator* buffer_allocator, const char* heap_name, size_t len,
                    unsigned int flags, size_t legacy_align);

#ifdef __cplusplus
}
#endif
