#include "BufferMapping.h"

#include <sys/mman.h>
#include <sys/sysmacros.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

namespace host {

namespace {

// One line of /proc/self/maps.
struct MapsLine {
    void* start;
    void* end;
    char access[5];  // "rw-s"
    uint64_t offset;
    unsigned major;
    unsigned minor;
    uint64_t inode;
};

bool holds(const MapsLine& line, const BufferId& buffer, bool writable) {
    return line.inode == buffer.inode && line.major == major(buffer.device) &&
           line.minor == minor(buffer.device) && line.offset == 0 &&
           static_cast<uint8_t*>(line.end) - static_cast<uint8_t*>(line.start) >= buffer.size &&
           line.access[0] == 'r' && (line.access[1] == 'w' || !writable) && line.access[3] == 's';
}

uint8_t* findMapping(const BufferId& buffer, bool writable) {
    FILE* maps = fopen("/proc/self/maps", "re");
    if (maps == nullptr) {
        return nullptr;
    }
    uint8_t* found = nullptr;
    const std::string inode = " " + std::to_string(buffer.inode);
    char text[512];  // a longer path goes on in a line that doesn't read as one
    while (found == nullptr && fgets(text, sizeof text, maps) != nullptr) {
        if (strstr(text, inode.c_str()) == nullptr) {
            continue;
        }
        MapsLine line = {};
        // NOLINTNEXTLINE(cert-err34-c): the kernel's numbers fit
        const int fields =
            sscanf(text, "%p-%p %4s %" SCNx64 " %x:%x %" SCNu64, &line.start, &line.end,
                   line.access, &line.offset, &line.major, &line.minor, &line.inode);
        if (fields == 7 && holds(line, buffer, writable)) {
            found = static_cast<uint8_t*>(line.start);
        }
    }
    fclose(maps);
    return found;
}

}  // namespace

BufferMapping::BufferMapping(const BufferId& buffer, bool writable)
    : mData(findMapping(buffer, writable)) {
    if (mData != nullptr) {
        return;
    }
    const int protection = writable ? PROT_READ | PROT_WRITE : PROT_READ;
    void* address = mmap(nullptr, static_cast<size_t>(buffer.size), protection,
                         MAP_SHARED | MAP_POPULATE, buffer.fd, 0);
    if (address != MAP_FAILED) {
        mData = static_cast<uint8_t*>(address);
        mOwnSize = static_cast<size_t>(buffer.size);
    }
}

BufferMapping::~BufferMapping() {
    if (mOwnSize > 0) {
        munmap(mData, mOwnSize);
    }
}

}  // namespace host
