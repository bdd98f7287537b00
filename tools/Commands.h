// This writes commands that a user can paste into a shell to convert and show a dump.
#pragma once

#include <string>

#include "Candidates.h"

// Returns the command that converts the file by this reading to the output folder of the options,
// as pictures if they say so. If no folder is given, the command names the variable FOLDER, and the
// shell refuses it until that is set.
std::string commandFor(const Reading& reading, const std::string& path,
                       const CommandLineOptions& options);

// Returns the command that shows the raw output of that command in the folder, cropped to the size
// before alignment. The folder may be empty, as above.
std::string showCommandFor(const Reading& reading, const std::string& path,
                           const std::string& folder);

// Returns ffmpeg's name of the pixel format that raw outputs of dumps in this format have.
const char* pixelFormatOf(ColorConvert::ColorFormat format);
