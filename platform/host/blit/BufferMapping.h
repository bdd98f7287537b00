// The bytes of a device buffer while a job runs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "../libc/Mappings.h"

namespace host {

// Uses the mapping that the process has of the buffer already, as its owner does that fills or
// reads it: to map a frame a second time takes about as long as to convert it, and counts its
// memory twice. Without one the buffer is mapped, until destruction.
class BufferMapping {
  public:
    BufferMapping(const BufferId& buffer, bool writable);
    ~BufferMapping();
    BufferMapping(const BufferMapping&) = delete;
    BufferMapping& operator=(const BufferMapping&) = delete;

    // Null when the buffer can't be mapped; errno then says why.
    uint8_t* data() const { return mData; }

  private:
    uint8_t* mData = nullptr;
    const size_t mSize;  // bytes
    bool mOwn = false;   // mapped here
};

}  // namespace host
