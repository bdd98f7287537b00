// What a dump is, by its name or by options, and what keeps it from being converted as it stands.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "driver/CommandLine.h"
#include "driver/FileJob.h"

struct DumpCheck {
    std::string path;                 // of a set of part files the one that was reached first
    std::optional<std::string> rule;  // name of the rule that decodes the path
    int width = 0;                    // pixels, before alignment; 0 when nothing tells the size
    int height = 0;                   // lines, before alignment
    FileJob job;                      // format UNKNOWN when nothing tells it
    std::optional<int64_t> frames;    // whole frames in the file
    // Names of the files that VexConverter writes: the raw one, then the pictures. Of more than
    // MAX_PICTURES pictures only the first and the last are here.
    std::vector<std::string> outputs;
    std::vector<std::string> problems;  // sentences; none when the dump converts as it stands
    bool needsCandidates = false;       // nothing says what the file is, or the file says otherwise

    static constexpr int64_t MAX_PICTURES = 10000;
};

// Checks the dumps of one conversion, in the order in which VexConverter takes the files. Their
// outputs go to outputFolder. The rules are loaded already.
std::vector<DumpCheck> checkDumps(const std::vector<std::string>& paths,
                                  const std::string& outputFolder,
                                  const CommandLineOptions& options);
