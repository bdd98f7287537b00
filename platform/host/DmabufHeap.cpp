// DMA-BUF heaps for the host: every heap name gives shared anonymous memory.
#include <BufferAllocator/BufferAllocator.h>
#include <BufferAllocator/BufferAllocatorWrapper.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "SharedBuffer.h"

bool BufferAllocator::CheckIonSupport() {
    const char* ion = getenv("VEX_HOST_ION");
    return ion != nullptr && strcmp(ion, "1") == 0;
}

BufferAllocator* CreateDmabufHeapBufferAllocator() { return new (std::nothrow) BufferAllocator; }

void FreeDmabufHeapBufferAllocator(BufferAllocator* buffer_allocator) { delete buffer_allocator; }

int DmabufHeapAlloc(BufferAllocator* /*buffer_allocator*/, const char* heap_name, size_t len,
                    unsigned int /*flags*/, size_t /*legacy_align*/) {
    return len == 0 ? -EINVAL : host::createSharedBuffer(heap_name, len);
}
