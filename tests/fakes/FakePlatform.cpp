#include "FakePlatform.h"

#include <BufferAllocator/BufferAllocator.h>
#include <BufferAllocator/BufferAllocatorWrapper.h>
#include <PxAsyncBlitStream.h>
#include <android/log.h>
#include <cutils/properties.h>
#include <dirent.h>
#include <ion/ion.h>
#include <ion/ion_vex.h>
#include <sync/sync.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

FakePlatform* fakePlatform = nullptr;

namespace {

unsigned char memory[1 << 16];

template <typename... Values>
std::string list(Values... values) {
    std::string text;
    ((text += (text.empty() ? "" : ", ") + std::to_string(values)), ...);
    return text;
}

std::string rect(const PxRect& r) {
    const int companions = r.leftCompanion | r.topCompanion | r.widthCompanion | r.heightCompanion;
    return ", (" + list(r.left, r.top, r.width, r.height, companions) + ")";
}

// Records a call that can fail, and returns 0 or the status of a failure.
int result(const std::string& name, const std::string& arguments = "") {
    FakePlatform& fake = *fakePlatform;
    fake.calls += name + "(" + arguments + ") ";
    if (++fake.canFail != fake.failNth && name != fake.failCall) {
        return 0;
    }
    fake.failed = name;
    return -5;
}

// Descriptors have the lowest number that a buffer may have, 1, if that is free. Otherwise they
// count from here.
constexpr int FIRST_FD = 100001;

int openFd() {
    FakePlatform& fake = *fakePlatform;
    const int fd = fake.held.count("fd 1") == 0 ? 1 : FIRST_FD + fake.opened++;
    fake.held.insert("fd " + std::to_string(fd));
    return fd;
}

// The C library and what counts coverage have their own files outside of a test.
bool isFake(int fd) {
    return fakePlatform != nullptr &&
           (fd >= FIRST_FD || fakePlatform->held.count("fd " + std::to_string(fd)) != 0);
}

// Every buffer has the lowest handle that is valid, each on an ION device of its own.
int openHandle() {
    fakePlatform->held.insert("handle 1");
    return 1;
}

// Records a call that gives a descriptor or handle to its caller. If the call fails, it leaves the
// caller's variable alone.
int give(const std::string& name, const std::string& arguments, int* out, int (*open)() = openFd) {
    const int status = result(name, arguments);
    *out = status == 0 ? open() : *out;
    return status;
}

void drop(const std::string& what) {
    auto& held = fakePlatform->held;
    if (held.count(what) == 0) {
        held.insert("given back too often: " + what);
    } else {
        held.erase(held.find(what));
    }
}

unsigned char* openMapping(size_t length) {
    fakePlatform->held.insert("mapping " + std::to_string(length));
    return memory;
}

}  // namespace

extern "C" {

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    char text[512];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    const std::string entry = std::string(tag) + ": " + text;
    fakePlatform->log += (prio == ANDROID_LOG_ERROR ? "" : "not an error: ") + entry;
    fakePlatform->log += entry.back() == '\n' ? "" : "\n";
    errno = 0;
    return 1;
}

int property_get(const char* /*key*/, char* value, const char* default_value) {
    return snprintf(value, PROPERTY_VALUE_MAX, "%s", default_value);
}

int vx_ion_open(const char* client) { return result("vx_ion_open", client) == 0 ? openFd() : -1; }
int ion_alloc_mm(int /*fd*/, size_t len, size_t align, unsigned int flags,
                 ion_user_handle_t* handle) {
    return give("ion_alloc_mm", list(len, align, flags), handle, openHandle);
}
int ion_import(int /*fd*/, int /*share_fd*/, ion_user_handle_t* handle) {
    return give("ion_import", "", handle, openHandle);
}
int ion_share(int /*fd*/, ion_user_handle_t /*handle*/, int* share_fd) {
    return give("ion_share", "", share_fd);
}
int ion_map(int /*fd*/, ion_user_handle_t /*handle*/, size_t length, int prot, int flags,
            off_t offset, unsigned char** ptr, int* map_fd) {
    // A call that is chosen by its name maps nothing; one that fails by its number has mapped.
    const bool none = fakePlatform->failCall == "ion_map";
    *ptr = none ? static_cast<unsigned char*>(MAP_FAILED) : openMapping(length);
    return give("ion_map", list(length, prot, flags, offset), map_fd);
}
int ion_free(int /*fd*/, ion_user_handle_t handle) {
    drop("handle " + std::to_string(handle));
    return result("ion_free");
}
int ion_close(int fd) {
    drop("fd " + std::to_string(fd));
    return result("ion_close");
}

BufferAllocator* CreateDmabufHeapBufferAllocator() {
    if (result("CreateDmabufHeapBufferAllocator") != 0) {
        return nullptr;
    }
    fakePlatform->held.insert("allocator");
    return new BufferAllocator;
}

void FreeDmabufHeapBufferAllocator(BufferAllocator* buffer_allocator) {
    fakePlatform->calls += "FreeDmabufHeapBufferAllocator() ";
    drop("allocator");
    delete buffer_allocator;
}

int DmabufHeapAlloc(BufferAllocator* /*allocator*/, const char* heap_name, size_t len,
                    unsigned int flags, size_t legacy_align) {
    const std::string arguments = heap_name + (", " + list(len, flags, legacy_align));
    return result("DmabufHeapAlloc", arguments) == 0 ? openFd() : -12;
}

int sync_wait(int /*fd*/, int timeout) { return result("sync_wait", list(timeout)); }

// The linker sends the C library's calls here; those that don't concern the platform go on to it.
void* __real_mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset);
int __real_munmap(void* address, size_t length);
int __real_dup(int fd);
int __real_close(int fd);
ssize_t __real_write(int fd, const void* bytes, size_t count);

void* __wrap_mmap(void* address, size_t length, int prot, int flags, int fd, off_t offset) {
    if (!isFake(fd)) {
        return __real_mmap(address, length, prot, flags, fd, offset);
    }
    const bool mapped = result("mmap", list(length, prot, flags, offset)) == 0;
    return mapped ? openMapping(length) : MAP_FAILED;
}

int __wrap_munmap(void* address, size_t length) {
    if (address != memory) {
        return __real_munmap(address, length);
    }
    drop("mapping " + std::to_string(length));
    return result("munmap", list(length));
}

// These calls fail only if a test names them.
char* __real_dirname(char* path);
char* __wrap_dirname(char* path) {
    return fakePlatform->failCall == "dirname" ? nullptr : __real_dirname(path);
}
dirent* __real_readdir(DIR* directory);
dirent* __wrap_readdir(DIR* directory) {
    if (fakePlatform != nullptr && fakePlatform->failCall == "readdir") {
        errno = EIO;
        return nullptr;
    }
    return __real_readdir(directory);
}
ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    if (fakePlatform == nullptr || !fakePlatform->write) {
        return __real_write(fd, bytes, count);
    }
    const int taken = fakePlatform->write();
    errno = taken < 0 ? -taken : 0;
    return taken < 0 ? -1 : __real_write(fd, bytes, static_cast<size_t>(taken));
}
int __wrap_dup(int fd) { return !isFake(fd) ? __real_dup(fd) : result("dup") == 0 ? openFd() : -1; }

int __wrap_close(int fd) {
    if (!isFake(fd)) {
        return __real_close(fd);
    }
    fakePlatform->calls += "close() ";
    drop("fd " + std::to_string(fd));
    return 0;
}

}  // extern "C"

bool BufferAllocator::CheckIonSupport() { return fakePlatform->ion; }

using Stream = PxAsyncBlitStream;
struct Stream::State {};

Stream::PxAsyncBlitStream() { fakePlatform->held.insert("stream"); }

Stream::~PxAsyncBlitStream() {
    fakePlatform->calls += "~PxAsyncBlitStream() ";
    drop("stream");
}

int Stream::createJob(unsigned int& jobId, int& fence) {
    const int status = result("createJob", list(jobId, fence));
    jobId = 42;
    // A call that is chosen by its name gives no fence; one that fails by its number has given one.
    fence = fakePlatform->failCall == "createJob" ? fence : openFd();
    return status;
}

int Stream::setConfigBegin(unsigned int jobId) { return result("setConfigBegin", list(jobId)); }

int Stream::setSrcBuffer(int fd, unsigned int* sizes, unsigned int planeCount, int reserved) {
    return result("setSrcBuffer", list(fd, sizes[0], sizes[1], planeCount, reserved));
}

int Stream::setSrcConfig(int width, int height, int yPitch, int uvPitch, PX_COLOR_ENUM color,
                         PX_PROFILE_ENUM profile, PxInterlaceFormat interlace, PxSecure secure,
                         bool reservedFlag, unsigned int reserved) {
    return result("setSrcConfig", list(width, height, yPitch, uvPitch, color, profile, interlace,
                                       secure, reservedFlag, reserved));
}

int Stream::setSrcCrop(unsigned int output, PxRect crop) {
    return result("setSrcCrop", list(output) + rect(crop));
}

int Stream::setDstBuffer(unsigned int output, int fd, unsigned int* sizes, unsigned int planeCount,
                         int reserved) {
    return result("setDstBuffer", list(output, fd, sizes[0], sizes[1], planeCount, reserved));
}

int Stream::setDstConfig(unsigned int output, int width, int height, int yPitch, int uvPitch,
                         PX_COLOR_ENUM color, PX_PROFILE_ENUM profile, PxInterlaceFormat interlace,
                         PxRect* target, PxSecure secure, bool reservedFlag, unsigned int reserved,
                         int reservedLast) {
    return result("setDstConfig",
                  list(output, width, height, yPitch, uvPitch, color, profile, interlace) +
                      rect(*target) + ", " + list(secure, reservedFlag, reserved, reservedLast));
}

int Stream::setConfigEnd() { return result("setConfigEnd"); }

int Stream::invalidate(timeval* now) {
    return result("invalidate", now->tv_sec > 0 ? "now" : "no time");
}
