// Access to the bytes of a device buffer while a job runs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "../libc/Mappings.h"

namespace host {

// If the process has mapped the buffer already, as the owner does to fill or read it, this uses
// that mapping: mapping a frame a second time takes about as long as converting it, and its memory
// would be counted twice. Otherwise it maps the buffer until destruction.
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
    const size_t mSize;   // bytes
    bool mOwned = false;  // this object made the mapping
};

}  // namespace host
