// A BufferMapping gives access to the bytes of a device buffer while a job runs.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

#include "../libc/Mappings.h"

namespace host {

// If the program has mapped the buffer already, as the owner does to fill or read it, this uses
// that mapping: mapping a frame a second time takes about as long as converting it, and its memory
// would be counted twice. Otherwise it maps the buffer until destruction.
class BufferMapping {
  public:
    BufferMapping(const BufferId& buffer, bool writable)
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
    ~BufferMapping() {
        if (mOwned) {
            munmap(mData, mSize);
        }
    }
    BufferMapping(const BufferMapping&) = delete;
    BufferMapping& operator=(const BufferMapping&) = delete;

    // Returns null if the buffer can't be mapped. errno then says why.
    uint8_t* data() const { return mData; }

  private:
    uint8_t* mData = nullptr;
    const size_t mSize;   // bytes
    bool mOwned = false;  // this object made the mapping
};

}  // namespace host
