// A mapped part of a device buffer that follows the strips of a job. It is kept from job to job, so
// that small frames stay mapped, and is small, so that large ones are never mapped a second time in
// full.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace host {

// A device buffer that a job works on.
struct BufferId {
    int fd;  // the caller's
    dev_t device;
    ino_t inode;
    int64_t size;  // bytes
};

class BufferWindow {
  public:
    // least: bytes of a window, where the buffer has as many.
    explicit BufferWindow(int64_t least) : mLeast(least) {}
    ~BufferWindow();
    BufferWindow(const BufferWindow&) = delete;
    BufferWindow& operator=(const BufferWindow&) = delete;

    // The bytes from offset on, of which length are mapped at least, or null when they can't be.
    // Valid until the next call. The range must lie in the buffer.
    uint8_t* at(const BufferId& buffer, bool writable, int64_t offset, size_t length);

  private:
    void unmap();

    int64_t mLeast;
    uint8_t* mAddress = nullptr;
    int64_t mOffset = 0;  // of the window in the buffer
    size_t mLength = 0;
    bool mWritable = false;
    dev_t mDevice = 0;
    ino_t mInode = 0;
};

}  // namespace host
