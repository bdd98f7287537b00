// A buffer of the ION allocator.
#pragma once

#include <cstdint>

#include "memory/DeviceMemory.h"

class IonMemory : public DeviceMemory {
  public:
    // size: bytes, > 0. importFd > 0 imports that buffer, which stays the caller's; otherwise new
    // memory is allocated.
    IonMemory(int size, int importFd);
    ~IonMemory() override;
    unsigned char* data() override;
    int getFd() override;
    // Gives everything back; may be called more than once.
    void release();

  private:
    int32_t mIonDevFd = -1;
    int32_t mSize = 0;  // bytes
    int32_t mMapFd = -1;
    int32_t mShareFd = -1;
    int32_t mImportFd = -1;
    int32_t mIonHandle = 0;
    unsigned char* mVirtAddr = nullptr;
};
