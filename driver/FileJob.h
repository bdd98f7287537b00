// How to convert one file: its format and size, which come from the options or from the file's
// name. This is decided before the file is opened. FileConversion.h carries it out.
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

// True when the options give no width, no height and no known format: file names decide then.
bool isConfigurationMode(const CommandLineOptions& options);

// Fills a new job from the options. Returns false after printing a line for each check that fails.
bool getFileJobFromCmdline(const CommandLineOptions& options, FileJob& job);

// Fills a new job from a rule that matches the file's name. Returns false when the aligned size is
// out of range; prints nothing and checks nothing else.
bool getFileJobFromMatch(const FormatConfig& match, bool png, FileJob& job);

enum class ConfigResult { JOB, FAILED, ALREADY_CONVERTED };

// Part files of the sets whose conversion has begun.
using SeparateFiles = std::unordered_set<std::string>;

// Fills a new job from the file's path by the format rules, and loads the rules if there are none
// yet. Prints the reasons of FAILED. Returns ALREADY_CONVERTED, and prints nothing, for a file of a
// set in convertedSeparateFiles.
ConfigResult getFileJobFromConfig(const std::string& path, const CommandLineOptions& options,
                                  bool isFirstFile, SeparateFiles& convertedSeparateFiles,
                                  FileJob& job);
