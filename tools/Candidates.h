// What a file could be whose name does not tell it: formats and sizes whose frames fill the file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "color/ColorConvert.h"
#include "driver/CommandLine.h"

struct Candidate {
    ColorConvert::ColorFormat format;
    ColorConvert::ColorFormat other;  // which no score tells from it; UNKNOWN where there is none
    int width;                        // pixels, before alignment
    int height;                       // lines, before alignment
    int64_t frames;                   // whole frames in the file
    bool cutOff;                      // the file ends within a frame
    double score;                     // see FrameScore.h
};

struct Search {
    std::vector<Candidate> candidates;  // the best first, at most five
    bool fits = false;  // the file holds half a frame of some format and size, or more
};

// Tries the sizes that the options give, else the one of the name (0 x 0 when it has none) and a
// table of sizes in use; and the format that the options give, else all that the board reads. Reads
// parts of the file as far as the largest candidate's first frame reaches.
Search rankCandidates(const std::string& path, const CommandLineOptions& known, int namedWidth,
                      int namedHeight);

// The command that converts the file as this candidate.
std::string commandFor(const Candidate& candidate, const std::string& path);

// Writes the first frame to a picture whose name is stem, the format and the size. False when the
// frame cannot be converted or the picture not be written, which the log tells.
bool writePicture(const Candidate& candidate, const std::string& path, const std::string& stem);
