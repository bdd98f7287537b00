// An IonMemory is a buffer of the ION allocator.
#pragma once

#include <cstdint>

#include "memory/DeviceMemory.h"

class IonMemory : public DeviceMemory {
  public:
    // size is a number of bytes above 0. If importFd is open, this shares that buffer, whose
    // descriptor stays the caller's. Otherwise it allocates memory.
    IonMemory(int size, int importFd);
    ~IonMemory() override;
    unsigned char* data() override;
    int getFd() override;
    // Gives everything back. It may be called more than once.
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
