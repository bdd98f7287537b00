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

std::string sizeList(const unsigned int* sizes, unsigned int count) {
    std::string text;
    for (unsigned int i = 0; i < count; ++i) { text += ", " + std::to_string(sizes[i]); }
    return "[" + text.substr(2) + "]";
}

std::string rect(const PxRect& r) {
    return "(" + list(r.left, r.leftCompanion, r.top, r.topCompanion) + ", " +
           list(r.width, r.widthCompanion, r.height, r.heightCompanion) + ")";
}

int hold(const std::string& what, int number) {
    fakePlatform->held.insert(what + std::to_string(number));
    return number;
}

int openFd() { return hold("fd ", ++lastFd); }

// Notes the call: 0, or the status of a failure.
int result(const std::string& name, const std::string& arguments = "") {
    return fakePlatform->note(name, arguments) ? 0 : fakePlatform->failStatus;
}

}  // namespace

bool FakePlatform::note(const std::string& name, const std::string& arguments) {
    calls.push_back(name + "(" + arguments + ")");
    const bool named = name == failCall && (++mOccurrences == failOccurrence || failOccurrence == 0);
    return ++mCanFail != failNth && !named;
}

extern "C" {

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    char text[512];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    fakePlatform->log.push_back((prio == ANDROID_LOG_ERROR ? "" : "not an error: ") + std::string(tag) + ": " + text);
    return 1;
}

int property_get(const char* /*key*/, char* value, const char* default_value) {
    return snprintf(value, PROPERTY_VALUE_MAX, "%s", default_value);
}

const char* getprogname() { return "VexConverter"; }

int vx_ion_open(const char* client) { return result("vx_ion_open", client) == 0 ? openFd() : -1; }

int ion_alloc_mm(int /*fd*/, size_t len, size_t align, unsigned int flags, ion_user_handle_t* handle) {
    const int status = result("ion_alloc_mm", list(len, align, flags));
    *handle = status == 0 ? hold("handle ", 7) : 0;
    return status;
}

int ion_import(int /*fd*/, int /*share_fd*/, ion_user_handle_t* handle) {
    const int status = result("ion_import");
    *handle = status == 0 ? hold("handle ", 8) : 0;
    return status;
}

int ion_share(int /*fd*/, ion_user_handle_t /*handle*/, int* share_fd) {
    const int status = result("ion_share");
    *share_fd = status == 0 ? openFd() : -1;
    return status;
}

int ion_map(int /*fd*/, ion_user_handle_t /*handle*/, size_t length, int prot, int flags, off_t offset,
            unsigned char** ptr, int* map_fd) {
    const int status = result("ion_map", list(length, prot, flags, offset));
    if (status == 0) {
        *ptr = memory;
        *map_fd = openFd();
        fakePlatform->held.insert("mapping");
    }
    return status;
}

int ion_free(int /*fd*/, ion_user_handle_t handle) {
    fakePlatform->held.erase("handle " + std::to_string(handle));
    return result("ion_free");
}

int ion_close(int fd) {
    fakePlatform->held.erase("fd " + std::to_string(fd));
    return result("ion_close");
}

BufferAllocator* CreateDmabufHeapBufferAllocator() {
    if (result("CreateDmabufHeapBufferAllocator") != 0) { return nullptr; }
    fakePlatform->held.insert("allocator");
    return new BufferAllocator;
}

void FreeDmabufHeapBufferAllocator(BufferAllocator* buffer_allocator) {
    fakePlatform->calls.emplace_back("FreeDmabufHeapBufferAllocator()");
    fakePlatform->held.erase("allocator");
    delete buffer_allocator;
}

int DmabufHeapAlloc(BufferAllocator* /*allocator*/, const char* heap_name, size_t len, unsigned int flags,
                    size_t legacy_align) {
    const std::string arguments = heap_name + (", " + list(len, flags, legacy_align));
    return result("DmabufHeapAlloc", arguments) == 0 ? openFd() : -12;
}

int sync_wait(int /*fd*/, int timeout) { return result("sync_wait", list(timeout)); }

// The linker sends the C library's calls here; those that aren't about the platform go on.
void* __real_mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset);
int __real_munmap(void* address, size_t length);
int __real_dup(int fd);
int __real_close(int fd);

void* __wrap_mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset) {
    if (fd < FIRST_FAKE_FD) { return __real_mmap(address, length, prot, flags, fd, offset); }
    if (result("mmap", list(length, prot, flags & ~MAP_POPULATE, offset)) != 0) { return MAP_FAILED; }
    fakePlatform->held.insert("mapping");
    return memory;
}

int __wrap_munmap(void* address, size_t length) {
    if (address != memory) { return __real_munmap(address, length); }
    fakePlatform->held.erase("mapping");
    return result("munmap", list(length));
}

int __wrap_dup(int fd) { return fd < FIRST_FAKE_FD ? __real_dup(fd) : result("dup") == 0 ? openFd() : -1; }

int __wrap_close(int fd) {
    if (fd < FIRST_FAKE_FD) { return __real_close(fd); }
    fakePlatform->calls.emplace_back("close()");
    return fakePlatform->held.erase("fd " + std::to_string(fd)) == 1 ? 0 : -1;
}

}  // extern "C"

bool BufferAllocator::CheckIonSupport() { return fakePlatform->ion; }

using Stream = PxAsyncBlitStream;
struct Stream::State {};

Stream::PxAsyncBlitStream() { fakePlatform->held.insert("stream"); }

Stream::~PxAsyncBlitStream() {
    fakePlatform->calls.emplace_back("~PxAsyncBlitStream()");
    fakePlatform->held.erase("stream");
}

int Stream::createJob(unsigned int& jobId, int& fence) {
    const int status = result("createJob", list(jobId, fence));
    jobId = 42;
    fence = status == 0 ? openFd() : -1;
    return status == 0 ? fakePlatform->statusOnly : status;
}

int Stream::setConfigBegin(unsigned int jobId) { return result("setConfigBegin", list(jobId)); }

int Stream::setSrcBuffer(int fd, unsigned int* sizes, unsigned int planeCount, int reserved) {
    return result("setSrcBuffer", list(fd) + ", " + sizeList(sizes, planeCount) + ", " + list(reserved));
}

int Stream::setSrcConfig(int width, int height, int yPitch, int uvPitch, PX_COLOR_ENUM color, PX_PROFILE_ENUM profile,
                         PxInterlaceFormat interlace, PxSecure secure, bool reservedFlag, unsigned int reserved) {
    return result("setSrcConfig",
                  list(width, height, yPitch, uvPitch, color, profile, interlace, secure, reservedFlag, reserved));
}

int Stream::setSrcCrop(unsigned int output, PxRect crop) {
    return result("setSrcCrop", list(output) + ", " + rect(crop));
}

int Stream::setDstBuffer(unsigned int output, int fd, unsigned int* sizes, unsigned int planeCount, int reserved) {
    return result("setDstBuffer", list(output, fd) + ", " + sizeList(sizes, planeCount) + ", " + list(reserved));
}

int Stream::setDstConfig(unsigned int output, int width, int height, int yPitch, int uvPitch, PX_COLOR_ENUM color,
                         PX_PROFILE_ENUM profile, PxInterlaceFormat interlace, PxRect* target, PxSecure secure,
                         bool reservedFlag, unsigned int reserved, int reservedLast) {
    const std::string shape = list(output, width, height, yPitch, uvPitch, color, profile, interlace);
    return result("setDstConfig",
                  shape + ", " + rect(*target) + ", " + list(secure, reservedFlag, reserved, reservedLast));
}

int Stream::setConfigEnd() { return result("setConfigEnd"); }

int Stream::invalidate(timeval* now) { return result("invalidate", now->tv_sec > 0 ? "now" : "no time"); }
