// This finds names for the files of a dump that the built-in rules decode, if there are such names.
#pragma once

#include <string>
#include <vector>

#include "driver/CommandLine.h"

struct DumpName {
    std::vector<std::string> files;  // one path, or those of the four part files of each set
    bool decoded;                    // a built-in rule decodes them
};

// Names a dump by its folder, format and size, before alignment. sets is the number of its sets of
// part files, or 0 if it is one file.
DumpName nameDump(const CommandLineOptions& dump, int sets);
