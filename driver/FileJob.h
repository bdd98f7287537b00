// What to make of one file, decided before it is opened: format and size, from the options or from
// the file's name. FileConversion.h does it.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>

#include "color/ColorConvert.h"
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

// True when neither a usable width nor height nor format was given: file names decide.
bool isConfigurationMode(const CommandLineOptions& options);

// Fills a new job from the options. False, with a line for every check that fails.
bool getFileJobFromCmdline(const CommandLineOptions& options, FileJob& job);

enum class ConfigResult { JOB, FAILED, ALREADY_CONVERTED };

// Part files of the separate sets that have been handed to conversion.
using SeparateFiles = std::unordered_set<std::string>;

// Fills a new job from the file's path by the format rules, which it loads when there are none.
// FAILED with lines that say why; ALREADY_CONVERTED, silently, for a file of a set in
// convertedSeparateFiles.
ConfigResult getFileJobFromConfig(const std::string& path, const CommandLineOptions& options,
                                  bool firstFile, SeparateFiles& convertedSeparateFiles,
                                  FileJob& job);
