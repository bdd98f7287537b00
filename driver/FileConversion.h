// Carries out a FileJob: reads one dump file, converts its frames and writes the output files.
#pragma once

#include <string>

#include "driver/CommandLine.h"
#include "driver/FileJob.h"

// Prints progress and failures, and returns no status. The dump's frames are written to
// outputFolder: raw to one file (appended), as PNG to one file per frame.
void convertFile(const std::string& path, const FileJob& job, const std::string& outputFolder,
                 const CommandLineOptions& options);
