// This is the C++ interface of the DMA-BUF heap allocator (libdmabufheap).
#pragma once

class BufferAllocator {
  public:
    // Returns true if buffers come from the ION allocator, false if they come from DMA-BUF heaps.
    static bool CheckIonSupport();
};
