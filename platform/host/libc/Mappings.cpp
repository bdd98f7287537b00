#include "Mappings.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>

extern "C" {
void* __real_mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset);
int __real_munmap(void* address, size_t length);
}

namespace {

using host::HUGE_PAGE;

struct Mapping {
    uint8_t* start;
    size_t size;
    int protection;
    dev_t device;
    ino_t inode;
};

// There is room for more mappings than a conversion has. A mapping that finds no room isn't
// recorded.
std::array<Mapping, 8> mappings;

void record(void* start, size_t size, int protection, int fd) {
    auto* unused = std::find_if(mappings.begin(), mappings.end(),
                                [](const Mapping& mapping) { return mapping.start == nullptr; });
    struct stat status = {};
    if (unused != mappings.end() && fstat(fd, &status) == 0) {
        *unused = {static_cast<uint8_t*>(start), size, protection, status.st_dev, status.st_ino};
    }
}

// Returns whether a mapping of the record was removed.
bool remove(const void* address, size_t length) {
    bool removed = false;
    const auto* start = static_cast<const uint8_t*>(address);
    for (Mapping& mapping : mappings) {
        if (mapping.start < start + length && start < mapping.start + mapping.size) {
            mapping = {};
            removed = true;
        }
    }
    return removed;
}

// Returns how many bytes are mapped for a buffer. If a mapping ends in the middle of a huge page,
// the system uses small pages for that part, and a folder of single frames may take twice as long.
size_t findReach(size_t length) {
    return length < HUGE_PAGE ? length : (length + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE;
}

// Returns an address that is aligned to huge pages and has that many free bytes, or null.
void* findHugePageAddress(size_t length) {
    void* range =
        __real_mmap(nullptr, length + HUGE_PAGE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (range == MAP_FAILED) {
        return nullptr;
    }
    __real_munmap(range, length + HUGE_PAGE);
    return static_cast<uint8_t*>(range) + HUGE_PAGE -
           reinterpret_cast<uintptr_t>(range) % HUGE_PAGE;
}

}  // namespace

namespace host {

uint8_t* findMapping(const BufferId& buffer, bool writable) {
    const int wanted = writable ? PROT_READ | PROT_WRITE : PROT_READ;
    for (const Mapping& mapping : mappings) {
        if (mapping.device == buffer.device && mapping.inode == buffer.inode &&
            mapping.size >= static_cast<size_t>(buffer.size) &&
            (mapping.protection & wanted) == wanted) {
            return mapping.start;
        }
    }
    return nullptr;
}

}  // namespace host

extern "C" {

void* __wrap_mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset) {
    if ((flags & MAP_SHARED) == 0 || offset != 0) {
        return __real_mmap(address, length, prot, flags, fd, offset);
    }
    const size_t reach = findReach(length);
    // The tool passes no address for a buffer, so this may choose one.
    if (reach >= HUGE_PAGE) {
        address = findHugePageAddress(reach);
    }
    // Maps all pages at once, as a device does. That is faster than to map each on its first use.
    void* start = __real_mmap(address, reach, prot, flags | MAP_POPULATE, fd, offset);
    if (start != MAP_FAILED) {
        record(start, length, prot, fd);
    }
    return start;
}

int __wrap_munmap(void* address, size_t length) {
    return __real_munmap(address, remove(address, length) ? findReach(length) : length);
}
}
