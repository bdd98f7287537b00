// This finds names for the files of a dump that the built-in rules decode, if there are such names.
#pragma once

#include <string>
#include <vector>

#include "driver/CommandLine.h"

struct DumpName {
    std::vector<std::string> files;  // one path, or those of the four part files of a frame
    bool decoded;                    // a built-in rule decodes them
};

// Names a dump by its folder, format and size, before alignment. separate means that the frame is
// stored as part files. number distinguishes the sets of a dump.
DumpName nameDump(const CommandLineOptions& dump, bool separate, int number);
