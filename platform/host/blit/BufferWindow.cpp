#include "BufferWindow.h"

#include <sys/mman.h>

#include <algorithm>

namespace host {

namespace {

constexpr int64_t PAGE = 4096;

}  // namespace

BufferWindow::~BufferWindow() { unmap(); }

uint8_t* BufferWindow::at(const BufferId& buffer, bool writable, int64_t offset, size_t length) {
    const auto end = offset + static_cast<int64_t>(length);
    const bool same = mAddress != nullptr && mDevice == buffer.device && mInode == buffer.inode &&
                      mWritable == writable;
    if (!same || offset < mOffset || end > mOffset + static_cast<int64_t>(mLength)) {
        unmap();
        const int64_t start = offset / PAGE * PAGE;
        const int64_t wanted = std::max(end - start, std::min(mLeast, buffer.size - start));
        const int protection = writable ? PROT_READ | PROT_WRITE : PROT_READ;
        void* address = mmap(nullptr, static_cast<size_t>(wanted), protection,
                             MAP_SHARED | MAP_POPULATE, buffer.fd, start);
        if (address == MAP_FAILED) {
            return nullptr;
        }
        mAddress = static_cast<uint8_t*>(address);
        mOffset = start;
        mLength = static_cast<size_t>(wanted);
        mWritable = writable;
        mDevice = buffer.device;
        mInode = buffer.inode;
    }
    return mAddress + (offset - mOffset);
}

void BufferWindow::unmap() {
    if (mAddress != nullptr) {
        munmap(mAddress, mLength);
        mAddress = nullptr;
    }
}

}  // namespace host
