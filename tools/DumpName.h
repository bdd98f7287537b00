// The names of a dump's files: such that the built-in rules decode them, where they can.
#pragma once

#include <string>
#include <vector>

#include "color/ColorConvert.h"

struct DumpName {
    std::vector<std::string> files;  // paths: one, or the four part files of a frame
    bool decoded;                    // by a built-in rule
};

// For a dump of width (pixels) x height (lines), not aligned yet, in the folder. separate: a frame
// of part files, of which number tells the sets apart.
DumpName nameDump(const std::string& folder, ColorConvert::ColorFormat format, int width,
                  int height, bool separate, int number);
