// This computes how much the frames of a file look like pictures if they are read in some format
// and size.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "DumpFile.h"
#include "FrameGeometry.h"
#include "color/ColorConvert.h"
#include "memory/DmabufMemory.h"

// FrameEnds says whether rows of pixels differ where one frame ends and the next begins. UNKNOWN
// means that the file doesn't tell. It has one frame, for example, or frames of several planes,
// whose sizes already tell where a frame ends.
enum class FrameEnds { UNKNOWN, SEEN, MISSING };

struct FrameScore {
    double score;  // the cost of the samples as a share of the cost of the bytes; 0 is best
    bool isNoise;  // neighbors in luma, or in the first color, are no more alike than any samples
    bool isTransparent;  // alpha is 0 everywhere
    FrameEnds frameEnds;
};

enum class ScoredLines { LEAST, FEW, MANY };

// The cost of samples is the mean number of bits, a byte of the dump, of the differences of
// neighbors in lines and columns. Neighbors in a picture are alike. With a wrong width lines are
// torn, blocks that are read as lines break after every few samples, and chroma planes that are
// read as pairs flicker. The cost of bytes is the same of any two bytes, whatever the format. So
// the format that explains the bytes with the fewest bits has the lowest score, as in an encoder
// that chooses a predictor by the size of its residuals.
//
// A score is computed from bands of lines, which the tool's own engine converts to the linear
// format. They are spread over the whole file. So all readings look at the same parts of it, and a
// frame size that is a little too small or too large shows in the later frames.
class FrameScorer {
  public:
    // The file stays the caller's.
    explicit FrameScorer(DumpFile& file);

    // width (pixels) and height (lines) are aligned. Returns no score if the bytes have one value,
    // if the blocks are compressed, if the file holds less than a third of a plane, if lines are
    // too long, or after a failure.
    std::optional<FrameScore> score(ScoredLines scored, ColorConvert::ColorFormat format, int width,
                                    int height);

    // Returns the reason of the first failure, after which nothing is scored, or an empty text.
    const std::string& failure() const { return mFailure.empty() ? mFile.failure() : mFailure; }

  private:
    bool readBands(const FrameGeometry& frame, const FrameGeometry& low, int bandLines);
    FrameEnds findFrameEnds(const FrameGeometry& frame);

    DumpFile& mFile;
    std::string mFailure;
    DmabufMemory mSrc;
    DmabufMemory mDst;
};
