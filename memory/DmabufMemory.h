// A buffer of a DMA-BUF heap.
#pragma once

#include <cstdint>

#include "memory/DeviceMemory.h"

class BufferAllocator;

class DmabufMemory : public DeviceMemory {
  public:
    // size: bytes, > 0. An open importFd duplicates that buffer's descriptor, which stays the
    // caller's; otherwise new memory is allocated.
    DmabufMemory(int size, int importFd);
    ~DmabufMemory() override;
    unsigned char* data() override;
    int getFd() override;
    // Gives everything back; may be called more than once.
    void release();

  private:
    BufferAllocator* mAllocator = nullptr;  // owned
    const int32_t mSize;                    // bytes
    int32_t mShareFd = NO_FD;
    const int32_t mImportFd;
    unsigned char* mVirtAddr = nullptr;
};
