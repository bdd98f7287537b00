// File operations: paths, frames of dumps, raw and PNG output, and the loader of format rules.
// Files that can't be opened, read or written go to the log; nothing is printed.
#pragma once

#include <string>
#include <vector>

class FileUtils {
  public:
    static bool isFile(std::string path);
    static bool isDirectory(std::string path);

    // The folder itself, without one trailing slash; for a file or a path that doesn't exist, its
    // parent folder.
    static std::string getFolderPath(std::string path);

    // Size in bytes: 0 when the file can't be examined, -EFBIG when it has 2 GiB or more.
    static int getFileSize(std::string path);

    // Appends the paths of the regular files directly inside the folder, in directory order.
    static void getFilePathsInDirectory(std::string folder, std::vector<std::string>& list);

    // Reads up to size bytes into buffer, from byte stride x count of the file on. Returns the
    // number of bytes read, which is smaller at the end of the file and after a read error, or the
    // negated errno of a failed open. A file that is not regular can't be opened.
    static int readFromFile(std::string path, unsigned char* buffer, int size, int stride,
                            int count);

    // Appends size bytes of buffer to the file, which it creates if there is none. Returns the
    // number of bytes written, or the negated errno of a failed open. If not all could be written,
    // a regular file gets back its earlier length, unless others have written to it meanwhile.
    static int writeToFile(std::string path, const unsigned char* buffer, int size);

    // Writes a picture of height rows of width pixels, each with this many 8-bit components,
    // without gaps and with the top row first. It replaces the file. Returns 1, or 0 after one log
    // entry.
    static int writeToPNG(std::string path, int width, int height, const unsigned char* pixels,
                          int components);

    // Appends the format rules of a JSON file, or the built-in ones if the path is empty, to
    // formatConfigs. Returns 0, the negated errno of a failed open, or -1 after one log entry; then
    // nothing is appended.
    static int parseConfigFile(std::string path);
};
