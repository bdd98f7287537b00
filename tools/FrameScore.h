// This computes how much the frames of a file look like pictures if they are read in some format
// and size.
#pragma once

#include <cstdint>
#include <string>

#include "Candidates.h"
#include "DumpFile.h"
#include "memory/DmabufMemory.h"

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
    explicit FrameScorer(const std::string& path);

    int64_t fileSize() const { return mFile.size(); }

    // Fills in score, isNoise, isTransparent and seesEnds of the reading. Returns false if the
    // bytes have one value, if the blocks are compressed, if the file holds less than a third of a
    // plane, if lines are too long, or after a failure.
    bool score(Reading& reading, int64_t maxBands);

    // Returns the reason of the first failure, after which nothing is scored, or an empty text.
    const std::string& failure() const { return mFailure.empty() ? mFile.failure() : mFailure; }

  private:
    DumpFile mFile;
    std::string mFailure;
    DmabufMemory mSrc;
    DmabufMemory mDst;
};
