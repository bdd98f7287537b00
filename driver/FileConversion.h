// This carries out a FileJob: it reads one dump, converts its frames and writes the outputs.
#pragma once

#include <cstdint>
#include <string>

#include "driver/CommandLine.h"
#include "driver/FileJob.h"

// Converts the dump's frames to outputFolder. Raw frames are appended to one file, and each picture
// is a file of its own. It prints progress and failures, and returns no status.
void convertFile(const std::string& path, const FileJob& job, const std::string& outputFolder,
                 const CommandLineOptions& options);

// Returns true if convertFile splits a file of fileSize bytes into frames of frameSize bytes, and
// puts their numbers into the names of pictures. A file that is not larger than a frame is one
// frame.
inline bool holdsSeveralFrames(int64_t fileSize, int frameSize) { return fileSize > frameSize; }

// Returns the path to which convertFile writes a frame of the dump. frame is the frame's number,
// which counts from 1, or 0 if the dump is not split. It makes no difference for raw frames.
std::string getOutputPath(const std::string& path, ColorConvert::ColorFormat outputFormat,
                          const std::string& outputFolder, bool png, int frame);
