#include "fileutils/FileUtils.h"

#include <android/log.h>
#include <dirent.h>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "fileutils/File.h"

#define LOGE(...) __android_log_print(ANDROID_LOG_ERROR, "VexConverter-FileUtils", __VA_ARGS__)

namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

bool hasType(const std::string& path, mode_t type) {
    struct stat status = {};
    return !path.empty() && stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == type;
}

// Returns an error if the path exists and is no regular file, else 0. Such a path is not opened,
// because to open a FIFO, for example, would wait for somebody who writes to it.
int errorOfType(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) {
        return 0;
    }
    return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
}

// Logs that the operation can't open the file, and returns the negated error.
int failToOpen(const char* operation, const std::string& path, int error) {
    LOGE("%s: Failed to open file: %s, errno: %d, %s\n", operation, path.c_str(), error,
         strerror(error));
    return -error;
}

size_t notNegative(int size) { return static_cast<size_t>(std::max(size, 0)); }

// Writes until all bytes are written or a call fails, and returns the number of bytes written. The
// device's fwrite would make a call for each 1,024 bytes.
size_t writeAll(int fd, const unsigned char* buffer, size_t size) {
    size_t written = 0;
    while (written < size) {
        const ssize_t bytes = write(fd, buffer + written, size - written);
        if (bytes > 0) {
            written += static_cast<size_t>(bytes);
        } else if (bytes == 0 || errno != EINTR) {
            break;
        }
    }
    return written;
}

// Cuts off the written bytes, which are a part of a frame, because they would shift the frames that
// are appended later. If the file has grown by more, somebody else has written too, and all bytes
// stay.
void cutOff(int fd, size_t written, const struct stat& before, const std::string& path) {
    struct stat after = {};
    const auto ownEnd = before.st_size + static_cast<off_t>(written);
    if (fstat(fd, &after) != 0 || after.st_size != ownEnd) {
        LOGE("writeToFile: Left a part of a frame in file: %s, which others write to\n",
             path.c_str());
    } else if (ftruncate(fd, before.st_size) != 0) {
        LOGE("writeToFile: Failed to truncate file: %s, errno: %d, %s\n", path.c_str(), errno,
             strerror(errno));
    }
}

}  // namespace

bool FileUtils::isFile(std::string path) { return hasType(path, S_IFREG); }

bool FileUtils::isDirectory(std::string path) { return hasType(path, S_IFDIR); }

std::string FileUtils::getFolderPath(std::string path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) {
        const char* folder = dirname(path.data());
        // The device's dirname returns null if the path is longer than its buffer.
        return folder != nullptr ? folder : path.substr(0, path.rfind('/') + 1) + ".";
    }
    if (path.back() == '/') {
        path.pop_back();
    }
    return path;
}

int FileUtils::getFileSize(std::string path) {
    struct stat status = {};
    if (path.empty() || stat(path.c_str(), &status) != 0) {
        return 0;
    }
    return status.st_size > INT_MAX ? -EFBIG : static_cast<int>(status.st_size);
}

void FileUtils::getFilePathsInDirectory(std::string folder, std::vector<std::string>& list) {
    const Directory directory(opendir(folder.c_str()));
    if (directory == nullptr) {
        LOGE("FileUtils::getFilePathsInDirectory failed to opendir %s", folder.c_str());
        return;
    }
    const std::string start = folder.back() != '/' ? folder + '/' : folder;
    for (;;) {
        errno = 0;  // readdir returns null both at the end and if it fails.
        const dirent* entry = readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        std::string path = start + entry->d_name;
        if (isFile(path)) {
            list.push_back(std::move(path));
        }
    }
    if (errno != 0) {
        LOGE("FileUtils::getFilePathsInDirectory failed to readdir %s, errno: %d, %s",
             folder.c_str(), errno, strerror(errno));
    }
}

int FileUtils::readFromFile(std::string path, unsigned char* buffer, int size, int stride,
                            int count) {
    const int typeError = errorOfType(path);
    if (typeError != 0) {
        return failToOpen("readFromFile", path, typeError);
    }
    const File file(fopen(path.c_str(), "rb"));
    if (file == nullptr) {
        return failToOpen("readFromFile", path, errno);
    }
    // Without the stream's buffer, one call moves the frame to the caller's memory.
    setvbuf(file.get(), nullptr, _IONBF, 0);
    if (stride >= 1 && count >= 1 && fseeko(file.get(), off_t{stride} * count, SEEK_CUR) != 0) {
        return 0;  // The file system has no files that are so large.
    }
    const size_t bytes = fread(buffer, 1, notNegative(size), file.get());
    if (ferror(file.get()) != 0) {
        LOGE("readFromFile: Failed to read file: %s, errno: %d, %s\n", path.c_str(), errno,
             strerror(errno));
    }
    return static_cast<int>(bytes);
}

int FileUtils::writeToFile(std::string path, const unsigned char* buffer, int size) {
    File file(fopen(path.c_str(), "ab"));
    if (file == nullptr) {
        return failToOpen("writeToFile", path, errno);
    }
    const int fd = fileno(file.get());
    struct stat before = {};
    const bool regular = fstat(fd, &before) == 0 && S_ISREG(before.st_mode);
    errno = 0;  // write sets no error if it returns 0.
    const size_t written = writeAll(fd, buffer, notNegative(size));
    const int writeError = errno;
    const bool complete = written == notNegative(size);
    if (!complete && written > 0 && regular) {
        cutOff(fd, written, before, path);
    }
    const bool closed = fclose(file.release()) == 0;
    if (!complete || !closed) {
        const int error = complete ? errno : writeError;
        LOGE("writeToFile: Failed to write file: %s, %d of %d bytes, errno: %d, %s\n", path.c_str(),
             static_cast<int>(written), size, error, strerror(error));
    }
    return static_cast<int>(written);
}
