// Small file operations: paths, frames of dumps, raw and PNG output, and the loader of format
// rules. Failures to open go to the log; nothing is printed.
#pragma once

#include <string>
#include <vector>

class FileUtils {
  public:
    static bool isFile(std::string path);
    static bool isDirectory(std::string path);

    // The folder that a path names or lies in, without one trailing slash; for a path that does
    // not exist, its parent.
    static std::string getFolderPath(std::string path);

    // Bytes; 0 when the path can't be examined, -EFBIG for 2 GiB and more.
    static int getFileSize(std::string path);

    // Appends the paths of the regular files directly inside the folder, in directory order.
    static void getFilePathsInDirectory(std::string folder, std::vector<std::string>& list);

    // Reads up to size bytes from byte stride x count on into buffer, which holds size bytes.
    // Bytes read (fewer at the file's end), or the negated errno of a failed open.
    static int readFromFile(std::string path, unsigned char* buffer, int size, int stride,
                            int count);

    // Appends size bytes of buffer to the file, which is created when missing. Bytes written, or
    // the negated errno of a failed open.
    static int writeToFile(std::string path, const unsigned char* buffer, int size);

    // Writes height rows of width pixels with that many 8-bit components, rows packed, the top
    // row first, in place of what the file held. 1, or 0 after one log line.
    static int writeToPNG(std::string path, int width, int height, const unsigned char* pixels,
                          int components);

    // Appends the rules of a JSON document to formatConfigs: those of the file, or the built-in
    // ones for an empty path. 0, the negated errno of a failed open, or -1 after one log line; on
    // failure nothing is appended.
    static int parseConfigFile(std::string path);
};
