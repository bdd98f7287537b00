// This writes commands that a user can paste into a shell to convert and show a dump.
#pragma once

#include <string>

#include "Candidates.h"

// A Conversion says how a user wants to convert dumps.
struct Conversion {
    std::string outputFolder;  // of VexConverter; empty if none is given
    bool png = false;
};

// Returns the command that converts the file by this reading. If no folder is given, the command
// names the variable FOLDER, and the shell refuses it until that is set.
std::string commandFor(const Reading& reading, const std::string& path,
                       const Conversion& conversion);

// Returns the command that shows the raw output of that command, cropped to the size before
// alignment.
std::string showCommandFor(const Reading& reading, const std::string& path,
                           const Conversion& conversion);

// Returns ffmpeg's name of the pixel format that raw outputs of dumps in this format have.
const char* pixelFormatOf(ColorConvert::ColorFormat format);
