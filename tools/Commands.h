// Commands that a user can paste into a shell to convert and show a dump.
#pragma once

#include <string>

#include "Candidates.h"

// How a user wants to convert dumps.
struct Conversion {
    std::string outputFolder;  // of VexConverter; empty if none is given
    bool png = false;
};

// The command that converts the file by this reading. If no folder is given, the command names the
// variable FOLDER, and the shell refuses it until that is set.
std::string commandFor(const Reading& reading, const std::string& path,
                       const Conversion& conversion);

// The command that shows the raw output of that command, cropped to the size before alignment.
std::string showCommandFor(const Reading& reading, const std::string& path,
                           const Conversion& conversion);

// ffmpeg's name of the pixel format of raw outputs of dumps in this format.
const char* pixelFormatOf(ColorConvert::ColorFormat format);
