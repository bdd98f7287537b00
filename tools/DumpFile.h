// A DumpFile is a file of frames, open for reading at any place.
#pragma once

#include <cstdint>
#include <string>

#include "fileutils/File.h"

class DumpFile {
  public:
    // Opens a regular file. Otherwise failure() has the reason.
    explicit DumpFile(const std::string& path);

    int64_t size() const { return mSize; }  // bytes

    // Returns the reason of the first call that failed, or an empty text. Nothing is read after it.
    const std::string& failure() const { return mFailure; }

    // Reads size bytes, beginning at offset. Returns false if they can't all be read.
    bool read(int64_t offset, int64_t size, unsigned char* to);

    // Reads the first byte and the last one. Returns false if they can't be read.
    bool canReadEnds();

    // Returns true if one of size bytes, beginning at offset, is not zero. Bytes that the file
    // doesn't have, or that can't be read, count as zero.
    bool isUsed(int64_t offset, int64_t size);

  private:
    File mFile;
    std::string mFailure;
    int64_t mSize = 0;
};
