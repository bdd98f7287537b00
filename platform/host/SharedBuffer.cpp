#include "SharedBuffer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <string>

#include "libc/Mappings.h"

namespace {

using host::isError;
using host::resultOf;

// Gives the file large pages where the system has them, as a device's heap does: they are mapped
// and unmapped in a twentieth of the time. Without them the file is as good.
void useHugePages(int file, size_t size) {
    constexpr int COLLAPSE = 25;  // MADV_COLLAPSE, since Linux 6.1
    if (size < host::HUGE_PAGE / 2) {
        return;
    }
    const size_t reach = size + host::HUGE_PAGE;  // the last page too
    void* mapping = mmap(nullptr, reach, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (mapping != MAP_FAILED) {
        madvise(mapping, reach, COLLAPSE);
        munmap(mapping, reach);
    }
}

// The file opened anew. A lease looks at who opened a file, and memfd_create doesn't count as that.
int reopen(int file) {
    const std::string path = "/proc/self/fd/" + std::to_string(file);
    const int opened = resultOf(open(path.c_str(), O_RDWR | O_CLOEXEC));
    if (isError(opened)) {
        return opened;
    }
    const int moved = host::duplicateDescriptor(opened);  // to where no standard stream is
    close(opened);
    return moved;
}

// A zeroed file of exactly size bytes, or a negated errno.
int createFile(const char* name, size_t size) {
    const int file = resultOf(memfd_create(name, MFD_CLOEXEC));
    if (isError(file)) {
        return file;
    }
    // Here a lack of memory shows, as with a device's allocator.
    int result = resultOf(fallocate(file, 0, 0, static_cast<off_t>(size)));
    useHugePages(file, size);
    if (!isError(result)) {
        result = reopen(file);
    }
    close(file);
    return result;
}

// The buffers made last, as many as a conversion has, kept open until the process ends for use
// again: fresh memory takes the system several times as long as clearing what there is.
class RecentBuffers {
  public:
    static constexpr int NONE = -1;

    // A file of that size that nobody uses any more, or NONE.
    int findIdle(size_t size) const {
        const auto* found = std::find_if(mFiles.begin(), mFiles.end(), [size](int file) {
            struct stat status = {};
            return fstat(file, &status) == 0 && status.st_size == static_cast<off_t>(size) &&
                   isIdle(file);
        });
        return found == mFiles.end() ? NONE : *found;
    }

    // Makes room for one more file, before there is one.
    void dropOldest() {
        if (mFiles.front() != NONE) {
            close(mFiles.front());
        }
        std::rotate(mFiles.begin(), mFiles.begin() + 1, mFiles.end());
        mFiles.back() = NONE;
    }

    // Takes over the file.
    void keep(int file) {
        mFiles.back() = file;
        // Who opens the file while it is leased waits; the signal of it must not end the process.
        fcntl(file, F_SETSIG, SIGURG);
    }

  private:
    // The system grants a lease to write only while nobody else has the file open or mapped.
    static bool isIdle(int file) {
        return fcntl(file, F_SETLEASE, F_WRLCK) == 0 && fcntl(file, F_SETLEASE, F_UNLCK) == 0;
    }

    std::array<int, 2> mFiles = {NONE, NONE};
};

}  // namespace

namespace host {

int duplicateDescriptor(int fd) {
    // Never a standard stream's number, even when the caller closed that stream.
    return resultOf(fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

int createSharedBuffer(const char* name, size_t size) {
    static RecentBuffers recent;
    const int idle = recent.findIdle(size);
    if (idle != RecentBuffers::NONE) {
        return reopen(idle);
    }
    recent.dropOldest();
    const int file = createFile(name, size);
    if (isError(file)) {
        return file;
    }
    recent.keep(file);
    return reopen(file);
}

}  // namespace host
