// This writes pictures of what a dump could be, to be looked at.
#pragma once

#include <set>
#include <string>

#include "DumpCheck.h"

class PictureFolder {
  public:
    // The folder exists. space is the color space of YUV in the dumps.
    PictureFolder(std::string folder, ColorConvert::ColorSpace space)
        : mFolder(std::move(folder)), mSpace(space) {}

    // Writes the first frame of a reading of the dump as an opaque picture. Its name has the dump's
    // name, what (such as the rank), the format and the size. No two pictures get the same name. If
    // the frame can't be read or the picture can't be written, it prints the reason and returns
    // false. A part file that doesn't exist counts as zeros.
    bool write(const DumpCheck& dump, const Reading& reading, const std::string& what);

  private:
    std::string tryToWrite(const DumpCheck& dump, const Reading& reading, const std::string& what);

    const std::string mFolder;
    const ColorConvert::ColorSpace mSpace;
    std::set<std::string> mNames;
};
