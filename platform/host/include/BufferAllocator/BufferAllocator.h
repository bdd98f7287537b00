// DMA-BUF heap allocator (libdmabufheap), C++ interface.
#pragma once

class BufferAllocator {
  public:
    // True where buffers come from the ION allocator, false where they come from DMA-BUF heaps.
    static bool CheckIonSupport();
};
