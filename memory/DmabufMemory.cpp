#include "memory/DmabufMemory.h"

#include <BufferAllocator/BufferAllocatorWrapper.h>
#include <android/log.h>
#include <sys/mman.h>

#define LOGE(...) __android_log_print(ANDROID_LOG_ERROR, "VexConverter-DmabufMemory", __VA_ARGS__)

constexpr const char* HEAP = "vex_mm-uncached";

DmabufMemory::DmabufMemory(int size, int importFd) : mSize(size), mImportFd(importFd) {
    if (mSize <= 0) {
        LOGE("DmabufMemory: buffer size should > 0");
        return;
    }
    if (isOpen(mImportFd)) {
        mShareFd = dup(mImportFd);
        if (!isOpen(mShareFd)) {
            LOGE("DmabufMemory: failed to dup from importFd: %d", mImportFd);
            release();
        }
        return;
    }
    mAllocator = CreateDmabufHeapBufferAllocator();
    if (mAllocator == nullptr) {
        LOGE("DmabufMemory: failed to create allocator");
        return;
    }
    mShareFd = DmabufHeapAlloc(mAllocator, HEAP, static_cast<size_t>(mSize), 0, 0);
    if (!isOpen(mShareFd)) {
        LOGE("DmabufMemory: failed to allocate buffer on %s heap", HEAP);
        release();
    }
}

DmabufMemory::~DmabufMemory() { release(); }

unsigned char* DmabufMemory::data() {
    if (mVirtAddr != nullptr) {
        return mVirtAddr;
    }
    if (!isOpen(mShareFd)) {
        LOGE("DmabufMemory::data failed to mapVA, mShareFd: %d", mShareFd);
        return nullptr;
    }
    void* address =
        mmap(nullptr, static_cast<size_t>(mSize), PROT_READ | PROT_WRITE, MAP_SHARED, mShareFd, 0);
    if (address == MAP_FAILED || address == nullptr) {
        // The program's interface has ION's words here, for both kinds of buffers.
        LOGE("DmabufMemory::data failed to ion_map, buffer import fd: %d", mImportFd);
        release();
        return nullptr;
    }
    mVirtAddr = static_cast<unsigned char*>(address);
    return mVirtAddr;
}

int DmabufMemory::getFd() { return mShareFd; }

void DmabufMemory::release() {
    if (mVirtAddr != nullptr) {
        if (munmap(mVirtAddr, static_cast<size_t>(mSize)) != 0) {
            LOGE("DmabufMemory::release munmap failed");
        }
        mVirtAddr = nullptr;
    }
    closeDescriptor(mShareFd);
    if (mAllocator != nullptr) {
        FreeDmabufHeapBufferAllocator(mAllocator);
        mAllocator = nullptr;
    }
}
