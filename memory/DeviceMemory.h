// The blit engine can access a device buffer. A buffer that couldn't be allocated, or was released,
// has no descriptor (-1) and no data (null). Failures go to the log.
#pragma once

#include <unistd.h>

#include <cstdint>

class DeviceMemory {
  public:
    virtual ~DeviceMemory() = default;
    // Returns the buffer's bytes, which the first call maps, or null if it can't.
    virtual unsigned char* data() = 0;
    // Returns the buffer's shareable descriptor, which the buffer still owns, or -1.
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
