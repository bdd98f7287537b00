#include "BufferMapping.h"

#include <sys/mman.h>

namespace host {

BufferMapping::BufferMapping(const BufferId& buffer, bool writable)
    : mData(findMapping(buffer, writable)), mSize(static_cast<size_t>(buffer.size)) {
    if (mData != nullptr) {
        return;
    }
    const int protection = writable ? PROT_READ | PROT_WRITE : PROT_READ;
    void* address = mmap(nullptr, mSize, protection, MAP_SHARED, buffer.fd, 0);
    if (address != MAP_FAILED) {
        mData = static_cast<uint8_t*>(address);
        mOwned = true;
    }
}

BufferMapping::~BufferMapping() {
    if (mOwned) {
        munmap(mData, mSize);
    }
}

}  // namespace host
