// This finds names for the files of a dump that the built-in rules decode, if there are such names.
#pragma once

#include <string>
#include <vector>

#include "color/ColorConvert.h"

struct DumpName {
    std::vector<std::string> files;  // one path, or those of the four part files of a frame
    bool decoded;                    // a built-in rule decodes them
};

// Names a dump of width (pixels) x height (lines), before alignment, in the folder. separate means
// that the frame is stored as part files. number distinguishes the sets of a dump.
DumpName nameDump(const std::string& folder, ColorConvert::ColorFormat format, int width,
                  int height, bool separate, int number);
