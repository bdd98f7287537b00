#include "memory/IonMemory.h"

#include <android/log.h>
#include <ion/ion.h>
#include <ion/ion_vex.h>
#include <sys/mman.h>

#define LOGE(...) __android_log_print(ANDROID_LOG_ERROR, "VexConverter-IonMemory", __VA_ARGS__)

constexpr size_t ALIGNMENT = 64;  // bytes

IonMemory::IonMemory(int size, int importFd) : mSize(size), mImportFd(importFd) {
    if (mSize <= 0) {
        LOGE("IonMemory: buffer size should > 0");
        return;
    }
    mIonDevFd = vx_ion_open("VexConverter");
    if (!isOpen(mIonDevFd)) {
        LOGE("IonMemory: failed to open ion dev");
        return;
    }
    if (isOpen(mImportFd)) {
        if (ion_import(mIonDevFd, mImportFd, &mIonHandle) != 0) {
            LOGE("IonMemory: failed to ion_import, buffer import fd: %d", mImportFd);
            release();
            return;
        }
    } else if (ion_alloc_mm(mIonDevFd, static_cast<size_t>(mSize), ALIGNMENT, 0, &mIonHandle) !=
               0) {
        LOGE("IonMemory: failed to ion_alloc_mm");
        release();
        return;
    }
    if (ion_share(mIonDevFd, mIonHandle, &mShareFd) != 0) {
        LOGE("IonMemory: failed to ion_share, ion handle: %d", mIonHandle);
        release();
    }
}

IonMemory::~IonMemory() { release(); }

unsigned char* IonMemory::data() {
    if (mVirtAddr != nullptr) {
        return mVirtAddr;
    }
    if (!isOpen(mIonDevFd)) {
        LOGE("IonMemory::data failed to mapVA, mIonDevFd: %d", mIonDevFd);
        return nullptr;
    }
    const int status = ion_map(mIonDevFd, mIonHandle, static_cast<size_t>(mSize),
                               PROT_READ | PROT_WRITE, MAP_SHARED, 0, &mVirtAddr, &mMapFd);
    if (status != 0 || mVirtAddr == nullptr) {
        LOGE("IonMemory::data failed to ion_map, share fd: %d", mShareFd);
        // The device's library may store this address although the call fails.
        if (mVirtAddr == MAP_FAILED) {
            mVirtAddr = nullptr;
        }
        release();
    }
    return mVirtAddr;
}

int IonMemory::getFd() { return mShareFd; }

void IonMemory::release() {
    if (!isOpen(mIonDevFd)) {
        return;
    }
    if (mVirtAddr != nullptr) {
        if (munmap(mVirtAddr, static_cast<size_t>(mSize)) != 0) {
            LOGE("IonMemory::release munmap failed");
        }
        mVirtAddr = nullptr;
    }
    closeDescriptor(mMapFd);
    closeDescriptor(mShareFd);
    if (mIonHandle >= 1) {
        if (ion_free(mIonDevFd, mIonHandle) != 0) {
            LOGE("IonMemory::release ion_free failed");
        }
        mIonHandle = -1;
    }
    ion_close(mIonDevFd);
    mIonDevFd = NO_FD;
}
