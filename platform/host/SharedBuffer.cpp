#include "SharedBuffer.h"

#include <android/log.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <string>

#include "Descriptors.h"
#include "libc/Mappings.h"

namespace {

using host::isError;
using host::resultOf;

// Gives the file huge pages if the system has any, as a device's heap does. The system maps and
// unmaps huge pages in a twentieth of the time that small ones take. With small pages a folder of
// single frames takes more than three times as long. If there are no huge ones, the file keeps its
// small pages.
void useHugePages(int file, size_t size) {
    constexpr int COLLAPSE = 25;  // MADV_COLLAPSE, since Linux 6.1
    if (size < host::HUGE_PAGE / 2) {
        return;
    }
    const size_t reach = size + host::HUGE_PAGE;  // includes the last page, which is not full
    void* mapping = mmap(nullptr, reach, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (mapping != MAP_FAILED) {
        madvise(mapping, reach, COLLAPSE);
        munmap(mapping, reach);
    }
}

// Opens the file once more, for the pool below or for a buffer's owner. The system grants no lease
// on the descriptor that memfd_create returns, but it grants one on a descriptor that was opened.
// It refuses the pool's lease while an owner has the file open too. By that the pool knows which
// buffers are in use.
int reopen(int file) {
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    const int opened = resultOf(open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (isError(opened)) {
        __android_log_print(ANDROID_LOG_ERROR, "SharedBuffer",
                            "failed to open %s, %s; buffers of the host need /proc\n", path.c_str(),
                            strerror(-opened));
    }
    return host::moveDescriptor(opened);
}

// Returns a zeroed file of exactly size bytes, or a negated errno.
int createFile(const char* name, size_t size) {
    const int file = resultOf(memfd_create(name, MFD_CLOEXEC));
    if (isError(file)) {
        return file;
    }
    // Allocates all pages, so that a lack of memory is noticed here, as by a device's allocator.
    int result = resultOf(fallocate(file, 0, 0, static_cast<off_t>(size)));
    useHugePages(file, size);
    if (!isError(result)) {
        result = reopen(file);
    }
    close(file);
    return result;
}

// Keeps the files of the latest buffers, as many as a conversion uses, and hands them out again for
// buffers of the same size, with the bytes that they hold. With new memory for each file, a folder
// of single frames takes three times as long. A file in the pool is idle if nobody else has it open
// or mapped. Only then does the system grant a lease to write it.
class BufferPool {
  public:
    static constexpr int NONE = -1;

    // Returns an idle file of that size, or NONE.
    int findIdle(size_t size) const {
        for (const int file : mFiles) {
            struct stat status = {};
            if (fstat(file, &status) == 0 && status.st_size == static_cast<off_t>(size) &&
                isIdle(file)) {
                return file;
            }
        }
        return NONE;
    }

    // Makes room for one more file.
    void evictOldest() {
        if (mFiles.front() != NONE) {
            close(mFiles.front());
        }
        std::rotate(mFiles.begin(), mFiles.begin() + 1, mFiles.end());
        mFiles.back() = NONE;
    }

    // Adds the file, which the pool then owns.
    void add(int file) {
        mFiles.back() = file;
        // The system sends this process a signal if somebody opens the file while it is leased. The
        // usual one, SIGIO, would end the process. SIGURG is ignored.
        fcntl(file, F_SETSIG, SIGURG);
    }

  private:
    static bool isIdle(int file) {
        return fcntl(file, F_SETLEASE, F_WRLCK) == 0 && fcntl(file, F_SETLEASE, F_UNLCK) == 0;
    }

    std::array<int, 2> mFiles = {NONE, NONE};
};

}  // namespace

namespace host {

int createSharedBuffer(const char* name, size_t size) {
    static BufferPool pool;
    const int idle = pool.findIdle(size);
    if (idle != BufferPool::NONE) {
        return reopen(idle);
    }
    pool.evictOldest();
    const int file = createFile(name, size);
    if (isError(file)) {
        return file;
    }
    pool.add(file);
    return reopen(file);
}

}  // namespace host
