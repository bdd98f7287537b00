#include "FakePlatform.h"

#include <BufferAllocator/BufferAllocator.h>
#include <BufferAllocator/BufferAllocatorWrapper.h>
#include <PxAsyncBlitStream.h>
#include <android/log.h>
#include <cutils/properties.h>
#include <ion/ion.h>
#include <ion/ion_vex.h>
#include <stdlib.h>
#include <sync/sync.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

FakePlatform* fakePlatform = nullptr;

namespace {

unsigned char memory[1 << 16];
int lastFd = FIRST_FAKE_FD;

template <typename... Values>
std::string list(Values... values) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + std::to_string(values)), ...);
    return text;
}

int openFd() {
    fakePlatform->held.insert("fd " + std::to_string(++lastFd));
    return lastFd;
}

int status(bool succeeds) { return succeeds ? 0 : fakePlatform->failStatus; }

std::string sizeList(const unsigned int* sizes, unsigned int count) {
    std::string text = "[";
    for (unsigned int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : " ") + std::to_string(sizes[i]);
    }
    return text + "]";
}

std::string rect(const PxRect& r) {
    return "(" +
           list(r.left, r.leftCompanion, r.top, r.topCompanion, r.width, r.widthCompanion, r.height,
                r.heightCompanion) +
           ")";
}

}  // namespace

bool FakePlatform::note(const std::string& name, const std::string& arguments) {
    calls.push_back(name + "(" + arguments + ")");
    const bool named =
        name == failCall && (++mOccurrences == failOccurrence || failOccurrence == 0);
    return ++mCanFail != failNth && !named;
}

std::vector<std::string> FakePlatform::names() const {
    std::vector<std::string> result;
    for (const std::string& call : calls) {
        result.push_back(call.substr(0, call.find('(')));
    }
    return result;
}

extern "C" {

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    char text[512];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    fakePlatform->log.push_back((prio == ANDROID_LOG_ERROR ? "" : "not an error: ") +
                                std::string(tag) + ": " + text);
    return 1;
}

int property_get(const char* /*key*/, char* value, const char* default_value) {
    return snprintf(value, PROPERTY_VALUE_MAX, "%s", default_value);
}

const char* getprogname() { return "VexConverter"; }

int vx_ion_open(const char* client) {
    return fakePlatform->note("vx_ion_open", client) ? openFd() : -1;
}

int ion_alloc_mm(int /*fd*/, size_t len, size_t align, unsigned int flags,
                 ion_user_handle_t* handle) {
    if (!fakePlatform->note("ion_alloc_mm", list(len, align, flags))) {
        return fakePlatform->failStatus;
    }
    *handle = 7;
    fakePlatform->held.insert("handle 7");
    return 0;
}

int ion_import(int /*fd*/, int /*share_fd*/, ion_user_handle_t* handle) {
    if (!fakePlatform->note("ion_import", "")) {
        return fakePlatform->failStatus;
    }
    *handle = 8;
    fakePlatform->held.insert("handle 8");
    return 0;
}

int ion_share(int /*fd*/, ion_user_handle_t /*handle*/, int* share_fd) {
    if (!fakePlatform->note("ion_share", "")) {
        return fakePlatform->failStatus;
    }
    *share_fd = openFd();
    return 0;
}

int ion_map(int /*fd*/, ion_user_handle_t /*handle*/, size_t length, int prot, int flags,
            off_t offset, unsigned char** ptr, int* map_fd) {
    if (!fakePlatform->note("ion_map", list(length, prot, flags, offset))) {
        return fakePlatform->failStatus;
    }
    *ptr = memory;
    *map_fd = openFd();
    fakePlatform->held.insert("mapping");
    return 0;
}

int ion_free(int /*fd*/, ion_user_handle_t handle) {
    fakePlatform->held.erase("handle " + std::to_string(handle));
    return status(fakePlatform->note("ion_free", ""));
}

int ion_close(int fd) {
    fakePlatform->held.erase("fd " + std::to_string(fd));
    return status(fakePlatform->note("ion_close", ""));
}

BufferAllocator* CreateDmabufHeapBufferAllocator() {
    if (!fakePlatform->note("CreateDmabufHeapBufferAllocator", "")) {
        return nullptr;
    }
    fakePlatform->held.insert("allocator");
    return new BufferAllocator;
}

void FreeDmabufHeapBufferAllocator(BufferAllocator* buffer_allocator) {
    fakePlatform->calls.emplace_back("FreeDmabufHeapBufferAllocator()");
    fakePlatform->held.erase("allocator");
    delete buffer_allocator;
}

int DmabufHeapAlloc(BufferAllocator* /*allocator*/, const char* heap_name, size_t len,
                    unsigned int flags, size_t legacy_align) {
    const std::string arguments = heap_name + (", " + list(len, flags, legacy_align));
    return fakePlatform->note("DmabufHeapAlloc", arguments) ? openFd() : -12;
}

int sync_wait(int /*fd*/, int timeout) {
    return status(fakePlatform->note("sync_wait", list(timeout)));
}

// The linker sends the C library's calls here; those that aren't about the platform go on.
void* __real_mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset);
int __real_munmap(void* address, size_t length);
int __real_dup(int fd);
int __real_close(int fd);

void* __wrap_mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset) {
    if (fd < FIRST_FAKE_FD) {
        return __real_mmap(address, length, prot, flags, fd, offset);
    }
    if (!fakePlatform->note("mmap", list(length, prot, flags & ~MAP_POPULATE, offset))) {
        return MAP_FAILED;
    }
    fakePlatform->held.insert("mapping");
    return memory;
}

int __wrap_munmap(void* address, size_t length) {
    if (address != memory) {
        return __real_munmap(address, length);
    }
    fakePlatform->held.erase("mapping");
    return fakePlatform->note("munmap", list(length)) ? 0 : -1;
}

int __wrap_dup(int fd) {
    if (fd < FIRST_FAKE_FD) {
        return __real_dup(fd);
    }
    return fakePlatform->note("dup", "") ? openFd() : -1;
}

int __wrap_close(int fd) {
    if (fd < FIRST_FAKE_FD) {
        return __real_close(fd);
    }
    fakePlatform->calls.emplace_back("close()");
    return fakePlatform->held.erase("fd " + std::to_string(fd)) == 1 ? 0 : -1;
}

}  // extern "C"

bool BufferAllocator::CheckIonSupport() { return fakePlatform->ion; }

struct PxAsyncBlitStream::State {};

PxAsyncBlitStream::PxAsyncBlitStream() { fakePlatform->held.insert("stream"); }

PxAsyncBlitStream::~PxAsyncBlitStream() {
    fakePlatform->calls.emplace_back("~PxAsyncBlitStream()");
    fakePlatform->held.erase("stream");
}

int PxAsyncBlitStream::createJob(unsigned int& jobId, int& fence) {
    if (!fakePlatform->note("createJob", list(jobId, fence))) {
        return fakePlatform->failStatus;
    }
    jobId = 42;
    fence = openFd();
    return fakePlatform->statusOnly;
}

int PxAsyncBlitStream::setConfigBegin(unsigned int jobId) {
    return status(fakePlatform->note("setConfigBegin", list(jobId)));
}

int PxAsyncBlitStream::setSrcBuffer(int fd, unsigned int* sizes, unsigned int planeCount,
                                    int reserved) {
    return status(fakePlatform->note(
        "setSrcBuffer", list(fd) + ", " + sizeList(sizes, planeCount) + ", " + list(reserved)));
}

int PxAsyncBlitStream::setSrcConfig(int width, int height, int yPitch, int uvPitch,
                                    PX_COLOR_ENUM color, PX_PROFILE_ENUM profile,
                                    PxInterlaceFormat interlace, PxSecure secure, bool reservedFlag,
                                    unsigned int reserved) {
    return status(
        fakePlatform->note("setSrcConfig", list(width, height, yPitch, uvPitch, color, profile,
                                                interlace, secure, reservedFlag, reserved)));
}

int PxAsyncBlitStream::setSrcCrop(unsigned int output, PxRect crop) {
    return status(fakePlatform->note("setSrcCrop", list(output) + ", " + rect(crop)));
}

int PxAsyncBlitStream::setDstBuffer(unsigned int output, int fd, unsigned int* sizes,
                                    unsigned int planeCount, int reserved) {
    return status(fakePlatform->note(
        "setDstBuffer",
        list(output, fd) + ", " + sizeList(sizes, planeCount) + ", " + list(reserved)));
}

int PxAsyncBlitStream::setDstConfig(unsigned int output, int width, int height, int yPitch,
                                    int uvPitch, PX_COLOR_ENUM color, PX_PROFILE_ENUM profile,
                                    PxInterlaceFormat interlace, PxRect* target, PxSecure secure,
                                    bool reservedFlag, unsigned int reserved, int reservedLast) {
    return status(fakePlatform->note(
        "setDstConfig", list(output, width, height, yPitch, uvPitch, color, profile, interlace) +
                            ", " + rect(*target) + ", " +
                            list(secure, reservedFlag, reserved, reservedLast)));
}

int PxAsyncBlitStream::setConfigEnd() { return status(fakePlatform->note("setConfigEnd", "")); }

int PxAsyncBlitStream::invalidate(timeval* now) {
    return status(fakePlatform->note("invalidate", now->tv_sec > 0 ? "now" : "no time"));
}
