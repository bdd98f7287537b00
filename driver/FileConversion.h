// Carries out a FileJob: reads one dump file, converts its frames and writes the output files.
#pragma once

#include <cstdint>
#include <string>

#include "driver/CommandLine.h"
#include "driver/FileJob.h"

// Prints progress and failures, and returns no status. The dump's frames are written to
// outputFolder: raw to one file (appended), as PNG to one file per frame.
void convertFile(const std::string& path, const FileJob& job, const std::string& outputFolder,
                 const CommandLineOptions& options);

// True when convertFile takes a file of that many bytes for several frames of frameSize bytes,
// whose pictures have the frame's number in their names. Otherwise the file is one frame.
inline bool holdsSeveralFrames(int64_t fileSize, int frameSize) { return fileSize > frameSize; }

// The file to which convertFile writes a frame of the dump. frame: its number, from 1 on; 0 if the
// file holds one frame alone. All raw frames go to one file.
std::string getOutputPath(const std::string& path, ColorConvert::ColorFormat outputFormat,
                          const std::string& outputFolder, bool png, int frame);
