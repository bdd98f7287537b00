#include "BufferMapping.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>

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

uint8_t* findMapping(const std::string& maps, const BufferId& buffer, bool writable) {
    const std::string inode = " " + std::to_string(buffer.inode) + " ";
    for (size_t at = maps.find(inode); at != std::string::npos; at = maps.find(inode, at + 1)) {
        MapsLine line = {};
        // NOLINTNEXTLINE(cert-err34-c): the kernel's numbers fit
        const int fields = sscanf(maps.c_str() + maps.rfind('\n', at) + 1,
                                  "%p-%p %4s %" SCNx64 " %x:%x %" SCNu64, &line.start, &line.end,
                                  line.access, &line.offset, &line.major, &line.minor, &line.inode);
        if (fields == 7 && holds(line, buffer, writable)) {
            return static_cast<uint8_t*>(line.start);
        }
    }
    return nullptr;
}

}  // namespace

std::string readMaps() {
    std::string maps;
    const int file = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    char text[4096];
    for (ssize_t size = 1; file >= 0 && size > 0;) {
        size = read(file, text, sizeof text);
        maps.append(text, size > 0 ? static_cast<size_t>(size) : 0);
    }
    if (file >= 0) {
        close(file);
    }
    return maps;
}

BufferMapping::BufferMapping(const std::string& maps, const BufferId& buffer, bool writable)
    : mData(findMapping(maps, buffer, writable)) {
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
