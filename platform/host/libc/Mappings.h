// This record says where the program has device buffers mapped, so that the blit engine can use the
// owner's mapping (blit/BufferMapping.h says why). The linker directs the program's calls of mmap
// and munmap to Mappings.cpp, which records buffers and maps them with huge pages. The calls of
// shared libraries are not directed there. Without this record and the huge pages, a folder of
// single frames takes two to six times as long. An engine that keeps its mappings from job to job,
// and a pool of buffers that owns mappings, were tried and take almost twice as long.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace host {

constexpr size_t HUGE_PAGE = 2 << 20;  // bytes

// A BufferId identifies a device buffer of a job.
struct BufferId {
    int fd;  // the caller's
    dev_t device;
    ino_t inode;
    int64_t size;  // bytes
};

// Returns a mapping of the whole buffer with these permissions, or null if none is recorded.
uint8_t* findMapping(const BufferId& buffer, bool writable);

}  // namespace host
