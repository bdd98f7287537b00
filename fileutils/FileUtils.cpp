#include "fileutils/FileUtils.h"

#include <android/log.h>
#include <dirent.h>
#include <libgen.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>

#define LOGE(...) __android_log_print(ANDROID_LOG_ERROR, "VexConverter-FileUtils", __VA_ARGS__)

namespace {

bool hasType(const std::string& path, mode_t type) {
    struct stat status = {};
    return !path.empty() && stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == type;
}

// Opened without a stream buffer: frames go between the file and the caller's memory in one call.
FILE* openForFrames(const std::string& path, const char* mode, const char* operation) {
    FILE* file = fopen(path.c_str(), mode);
    if (file == nullptr) {
        const int error = errno;
        LOGE("%s: Failed to open file: %s, errno: %d, %s\n", operation, path.c_str(), error,
             strerror(error));
        errno = error;
        return nullptr;
    }
    setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

}  // namespace

bool FileUtils::isFile(std::string path) { return hasType(path, S_IFREG); }

bool FileUtils::isDirectory(std::string path) { return hasType(path, S_IFDIR); }

std::string FileUtils::getFolderPath(std::string path) {
    struct stat status = {};
    if (path.empty() || stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) {
        const char* folder = dirname(path.data());
        // Some libraries have none of a path that is longer than what they can hold.
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
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr) {
        LOGE("FileUtils::getFilePathsInDirectory failed to opendir %s", folder.c_str());
        return;
    }
    const std::string start = folder.empty() || folder.back() != '/' ? folder + '/' : folder;
    const dirent* entry = nullptr;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): a single thread reads its own stream
    while (errno = 0, (entry = readdir(directory)) != nullptr) {
        std::string path = start + entry->d_name;
        if (isFile(path)) {
            list.push_back(std::move(path));
        }
    }
    if (errno != 0) {
        const int error = errno;
        LOGE("FileUtils::getFilePathsInDirectory failed to readdir %s, errno: %d, %s",
             folder.c_str(), error, strerror(error));
    }
    closedir(directory);
}

int FileUtils::readFromFile(std::string path, unsigned char* buffer, int size, int stride,
                            int count) {
    FILE* file = openForFrames(path, "rb", "readFromFile");
    if (file == nullptr) {
        return -errno;
    }
    if (stride >= 1 && count >= 1 && fseeko(file, off_t{stride} * count, SEEK_CUR) != 0) {
        // As far as single moves lead.
        for (int i = 0; i < count && fseeko(file, stride, SEEK_CUR) == 0; ++i) {
        }
    }
    const size_t bytes = size > 0 ? fread(buffer, 1, static_cast<size_t>(size), file) : 0;
    fclose(file);
    return static_cast<int>(bytes);
}

int FileUtils::writeToFile(std::string path, const unsigned char* buffer, int size) {
    FILE* file = openForFrames(path, "ab", "writeToFile");
    if (file == nullptr) {
        return -errno;
    }
    const size_t bytes = size > 0 ? fwrite(buffer, 1, static_cast<size_t>(size), file) : 0;
    fclose(file);
    return static_cast<int>(bytes);
}
