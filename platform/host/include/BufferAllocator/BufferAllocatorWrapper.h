// This is the C interface of the DMA-BUF heap allocator (libdmabufheap).
#pragma once

#include <stddef.h>

#ifdef __cplusplus
class BufferAllocator;
extern "C" {
#else
typedef struct BufferAllocator BufferAllocator;
#endif

BufferAllocator* CreateDmabufHeapBufferAllocator(void);
void FreeDmabufHeapBufferAllocator(BufferAllocator* buffer_allocator);

// Allocates len bytes on the named heap. Returns a descriptor that the caller closes, or a negated
// errno.
int DmabufHeapAlloc(BufferAllocator* buffer_allocator, const char* heap_name, size_t len,
                    unsigned int flags, size_t legacy_align);

#ifdef __cplusplus
}
#endif
