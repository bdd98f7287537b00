// The names of a dump's files: such that the built-in rules decode them, where they can.
#pragma once

#include <string>
#include <vector>

#include "color/ColorConvert.h"

class DumpNames {
  public:
    // Of dumps of width (pixels) x height (lines), not aligned yet, in the folder; separate: four
    // part files a frame. Loads the built-in rules.
    DumpNames(std::string folder, ColorConvert::ColorFormat format, int width, int height,
              bool separate);

    // Paths of the part files of a frame, or of the one file that holds all frames.
    std::vector<std::string> filesOf(int frame) const;

    // How to convert a dump whose names no built-in rule decodes; empty for others.
    std::string hint() const;

  private:
    std::vector<std::string> decodedFilesOf(int frame) const;
    std::vector<std::string> tryName(const std::string& path) const;

    std::string mFolder;
    ColorConvert::ColorFormat mFormat;
    int mWidth;
    int mHeight;
    bool mSeparate;
};
