#include "DumpFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

DumpFile::DumpFile(const std::string& path) {
    struct stat status = {};
    const bool isFound = stat(path.c_str(), &status) == 0;
    const bool isOther = isFound && !S_ISREG(status.st_mode);
    // This opens regular files only. If it opened a pipe, it could end the program that writes to
    // it.
    mFile.reset(isFound && !isOther ? fopen(path.c_str(), "rb") : nullptr);
    if (mFile != nullptr) {
        mSize = status.st_size;
    } else {
        mFailure = isOther ? "it is no regular file" : strerror(errno);
    }
}

bool DumpFile::read(int64_t offset, int64_t size, unsigned char* to) {
    while (size > 0 && mFailure.empty()) {
        const ssize_t bytes = pread(fileno(mFile.get()), to, static_cast<size_t>(size), offset);
        if (bytes > 0) {
            to += bytes;
            offset += bytes;
            size -= bytes;
        } else if (bytes == 0 || errno != EINTR) {
            mFailure = bytes == 0 ? "it became shorter while it was read" : strerror(errno);
        }
    }
    return mFailure.empty();
}

bool DumpFile::canReadEnds() {
    unsigned char byte = 0;
    return mFailure.empty() && (mSize == 0 || (read(0, 1, &byte) && read(mSize - 1, 1, &byte)));
}

bool DumpFile::isUsed(int64_t offset, int64_t size) {
    std::array<unsigned char, 4096> bytes = {};
    const int64_t end = std::min(offset + size, mSize);
    for (; offset < end; offset += bytes.size()) {
        const int64_t count = std::min<int64_t>(end - offset, bytes.size());
        if (read(offset, count, bytes.data()) &&
            std::count(bytes.begin(), bytes.begin() + count, 0) < count) {
            return true;
        }
    }
    return false;
}
