// These are the host's DMA-BUF heaps. Every heap allocates shared anonymous memory.
#include <BufferAllocator/BufferAllocator.h>
#include <BufferAllocator/BufferAllocatorWrapper.h>

#include "Settings.h"
#include "SharedBuffer.h"

bool BufferAllocator::CheckIonSupport() { return host::hasIon(); }

BufferAllocator* CreateDmabufHeapBufferAllocator() { return new BufferAllocator; }

void FreeDmabufHeapBufferAllocator(BufferAllocator* buffer_allocator) { delete buffer_allocator; }

int DmabufHeapAlloc(BufferAllocator* /*buffer_allocator*/, const char* heap_name, size_t len,
                    unsigned int /*flags*/, size_t /*legacy_align*/) {
    return host::createSharedBuffer(heap_name, len);
}
