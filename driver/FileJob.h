// A FileJob says how to convert one file: its formats and size, which come from the options or from
// the file's name. It is complete before the file is opened. FileConversion.h carries it out.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>

#include "color/ColorConvert.h"
#include "config/FormatConfig.h"
#include "driver/CommandLine.h"

struct FileJob {
    ColorConvert::ColorFormat inputFormat = ColorConvert::UNKNOWN;
    ColorConvert::ColorFormat outputFormat = ColorConvert::UNKNOWN;
    int32_t alignedWidth = 0;   // pixels
    int32_t alignedHeight = 0;  // lines
    bool separate = false;      // the frame is stored as four part files
    std::string yBodyFile;
    std::string yHeaderFile;
    std::string cBodyFile;
    std::string cHeaderFile;
};

// Returns true if the options give no width, no height and no known format. File names then decide.
bool isConfigurationMode(const CommandLineOptions& options);

// Fills a new job from the options. Prints a line for each check that fails, and then returns
// false.
bool getFileJobFromCmdline(const CommandLineOptions& options, FileJob& job);

// Fills a new job from a rule that matched the file's name. Returns false if the aligned size is
// out of range. It prints nothing and checks nothing else.
bool getFileJobFromMatch(const FormatConfig& match, bool png, FileJob& job);

enum class ConfigResult { JOB, FAILED, ALREADY_CONVERTED };

// These are the paths of the part files of every set whose conversion has begun.
using SeparateFiles = std::unordered_set<std::string>;

// Fills a new job from the file's path by the format rules, and loads the rules if there are none
// yet. Prints the mode if isFirstFile is true, and the reasons if it returns FAILED. It returns
// ALREADY_CONVERTED, and prints nothing, if the path is in convertedSeparateFiles.
ConfigResult getFileJobFromConfig(const std::string& path, const CommandLineOptions& options,
                                  bool isFirstFile, SeparateFiles& convertedSeparateFiles,
                                  FileJob& job);
