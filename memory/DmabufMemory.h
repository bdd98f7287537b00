// A DmabufMemory is a buffer of a DMA-BUF heap.
#pragma once

#include <cstdint>

#include "memory/DeviceMemory.h"

class BufferAllocator;

class DmabufMemory : public DeviceMemory {
  public:
    // size is a number of bytes above 0. If importFd is open, this shares that buffer by a
    // duplicate of the descriptor, which stays the caller's. Otherwise it allocates memory.
    DmabufMemory(int size, int importFd);
    ~DmabufMemory() override;
    unsigned char* data() override;
    int getFd() override;
    // Gives everything back. It may be called more than once.
    void release();

  private:
    BufferAllocator* mAllocator = nullptr;  // owned
    const int32_t mSize;                    // bytes
    int32_t mShareFd = NO_FD;
    const int32_t mImportFd;
    unsigned char* mVirtAddr = nullptr;
};
