// This reads the tool's options, and prints its help text and listings.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "color/ColorConvert.h"

struct CommandLineOptions {
    std::vector<std::string> inputPaths;
    std::string outputPath;
    std::string configFilePath;
    int32_t width = 0;   // pixels
    int32_t height = 0;  // lines
    ColorConvert::ColorFormat inputFormat = ColorConvert::UNKNOWN;
    ColorConvert::ColorSpace inputColorSpace = ColorConvert::BT601_LIMIT;
    ColorConvert::ColorSpace outputColorSpace = ColorConvert::BT601_LIMIT;
    bool png = false;
};

// Applies the options in their order. --help and the listings end the process at once with status
// 0. An option that is unknown or lacks its value ends it with status 1 after the help text.
CommandLineOptions parseCommandLine(int argc, char* argv[]);

// Prints the help text and ends the process.
[[noreturn]] void printUsage(int exitCode);
