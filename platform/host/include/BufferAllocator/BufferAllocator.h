// DMA-BUF heap allocator (libdmabufheap), C++ interface.
#pragma once

#include <cstddef>
#include <string>

class BufferAllocator {
  public:
    // True where buffers come from the ION allocator, false where they come from DMA-BUF heaps.
    static bool CheckIonSupport();

    // Allocates len bytes on the named heap; a descriptor that the caller closes, or a negated
    // errno.
    int Alloc(const std::string& heap_name, size_t len, unsigned int heap_flags = 0,
              size_t legacy_align = 0);
};
