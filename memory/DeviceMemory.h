// A buffer that the blit engine can access. A buffer that couldn't be allocated, or was released,
// has no descriptor (-1) and no data (null). Failures go to the log.
#pragma once

#include <unistd.h>

#include <cstdint>

class DeviceMemory {
  public:
    virtual ~DeviceMemory() = default;
    // The buffer's bytes, mapped on the first call, or null.
    virtual unsigned char* data() = 0;
    // The buffer's shareable descriptor, or -1. The buffer keeps it.
    virtual int getFd() = 0;

    static constexpr int32_t NO_FD = -1;
    // The device's libraries never return descriptor 0.
    static bool isOpen(int32_t fd) { return fd > 0; }

    DeviceMemory() = default;
    DeviceMemory(const DeviceMemory&) = delete;
    DeviceMemory& operator=(const DeviceMemory&) = delete;

  protected:
    static void closeDescriptor(int32_t& fd) {
        if (isOpen(fd)) {
            close(fd);
        }
        fd = NO_FD;
    }
};
