// A buffer of the ION allocator.
#pragma once

#include <cstdint>

#include "memory/DeviceMemory.h"

class IonMemory : public DeviceMemory {
  public:
    // size: bytes, > 0. An open importFd imports that buffer, which stays the caller's; otherwise
    // new memory is allocated.
    IonMemory(int size, int importFd);
    ~IonMemory() override;
    unsigned char* data() override;
    int getFd() override;
    // Gives everything back; may be called more than once.
    void release();

  private:
    int32_t mIonDevFd = NO_FD;
    const int32_t mSize;  // bytes
    int32_t mMapFd = NO_FD;
    int32_t mShareFd = NO_FD;
    const int32_t mImportFd;
    int32_t mIonHandle = 0;
    unsigned char* mVirtAddr = nullptr;
};
