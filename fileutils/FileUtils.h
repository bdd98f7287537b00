// FileUtils examines paths, reads frames of dumps, writes raw and PNG outputs, and loads format
// rules. It logs which files can't be opened, read or written, and prints nothing.
#pragma once

#include <string>
#include <vector>

class FileUtils {
  public:
    static bool isFile(std::string path);
    static bool isDirectory(std::string path);

    // Returns the folder without one trailing slash. If the path is a file or doesn't exist, this
    // returns its parent folder.
    static std::string getFolderPath(std::string path);

    // Returns the size in bytes, 0 if the file can't be examined, or -EFBIG if it has 2 GiB or
    // more.
    static int getFileSize(std::string path);

    // Appends the paths of the regular files directly inside the folder, in directory order.
    static void getFilePathsInDirectory(std::string folder, std::vector<std::string>& list);

    // Reads up to size bytes into buffer, beginning with byte stride x count of the file. Returns
    // the number of bytes read, which is smaller at the end of the file and after a read error. If
    // the file can't be opened, or is not regular, this returns a negated errno.
    static int readFromFile(std::string path, unsigned char* buffer, int size, int stride,
                            int count);

    // Appends size bytes of buffer to the file, which it creates if there is none. Returns the
    // number of bytes written, or a negated errno if the file can't be opened. If not all could be
    // written, a regular file gets back its earlier length, unless others have written to it
    // meanwhile.
    static int writeToFile(std::string path, const unsigned char* buffer, int size);

    // Writes a picture, and replaces the file if there is one. pixels has height rows, beginning
    // with the top one, each of width pixels of that many 8-bit components. There are no gaps.
    // Returns 1, or 0 after one log entry.
    static int writeToPNG(std::string path, int width, int height, const unsigned char* pixels,
                          int components);

    // Appends the format rules of a JSON file, or the built-in ones if the path is empty, to
    // formatConfigs. Returns 0. After one log entry it returns a negated errno if the file can't be
    // opened, or -1 for any other failure. It then appends nothing.
    static int parseConfigFile(std::string path);
};
