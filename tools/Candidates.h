// This finds what a file could be: formats and sizes, ranked by how much its frames look like
// pictures.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "color/ColorConvert.h"
#include "driver/CommandLine.h"

struct FrameSize {
    int width = 0;   // pixels
    int height = 0;  // lines
};

// A Reading is one way to read a file of frames.
struct Reading {
    ColorConvert::ColorFormat format = ColorConvert::UNKNOWN;
    // YV12 and YUV420P differ in the order of two planes alone if their planes have the same size.
    // No score tells them apart then, so the reading stands for both. Otherwise this is UNKNOWN.
    ColorConvert::ColorFormat twin = ColorConvert::UNKNOWN;
    FrameSize size;  // before alignment
    FrameSize aligned;
    int frameSize = 0;    // bytes
    int64_t frames = 0;   // whole frames in the file
    bool cutOff = false;  // the file ends within a frame
    bool named = false;   // by the file's name, or by options
    double oddity = 1;    // of the size; the rank is multiplied by it

    // The next ones come from the samples: see FrameScorer.
    double score = 0;            // the cost of the samples as a share of that of the bytes
    bool isNoise = false;        // neighbors are no more alike than any samples
    bool isTransparent = false;  // alpha is 0 in all pixels that were looked at
    // True if rows of pixels differ at each end of a frame that was looked at. False if they don't
    // at half of the ends or more. It has no value if the file doesn't tell: if they differ at most
    // ends only, if it has one frame, or if frames have several planes, whose sizes already tell
    // where a frame ends.
    std::optional<bool> seesEnds = std::nullopt;

    double rank = 0;   // the score, with what makes the reading less likely; 0 is best
    size_t place = 0;  // among the readings that were tried, from 1 on
};

// Returns the reading of a file of that many bytes. aligned is the size of the frames, which is
// mostly the one to which the format is aligned. The frame size is 0 or less if there are no such
// frames.
Reading makeReading(int64_t fileSize, ColorConvert::ColorFormat format, FrameSize size,
                    FrameSize aligned);

// These print texts such as "1920 x 1080" and "NV12, 1920 x 1080".
std::ostream& operator<<(std::ostream& stream, const FrameSize& size);
std::ostream& operator<<(std::ostream& stream, const Reading& reading);

struct Search {
    // The best reading comes first. There are at most MAX_READINGS and, if it could be scored, the
    // named one.
    std::vector<Reading> readings;
    bool isClear = false;  // the first is far better than the second
    bool doubted = false;  // the first is clearly better than the named one
    std::string failure;   // why the samples can't be looked at; empty if they can
    std::string note;      // why there is no reading, or none that fills the file

    static constexpr size_t MAX_READINGS = 5;
};

// Looks for readings of a file whose format or size is not known. It tries the format and size that
// the options give, the sizes that its name may mean, sizes in use, and if these give no clear
// answer all sizes whose frames fill the file. named is the reading that the name gives and that
// doesn't fill the file, or one without frames.
Search searchReadings(const std::string& path, const CommandLineOptions& known,
                      const std::vector<FrameSize>& namedSizes, const Reading& named);

// Compares a named reading, whose frames fill the file, with other formats and sizes that do.
Search checkReading(const std::string& path, const Reading& named);
