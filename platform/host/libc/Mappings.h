// Where the process has device buffers mapped: the linker hands over its calls of mmap and munmap.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace host {

constexpr size_t HUGE_PAGE = 2 << 20;  // bytes

// A device buffer that a job works on.
struct BufferId {
    int fd;  // the caller's
    dev_t device;
    ino_t inode;
    int64_t size;  // bytes
};

// A mapping of the whole buffer, or null: there is none, or none that was noted.
uint8_t* findMapping(const BufferId& buffer, bool writable);

}  // namespace host
