// How much the frames of a file look like pictures when they are read in some format and size.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "color/ColorConvert.h"

// The cost of a frame's samples as a share of the cost of its bytes: near 0 in a picture, near 1 in
// noise. No value where the frame says nothing: its bytes have one value, its blocks are
// compressed, or the file does not hold enough of it.
//
// The cost of samples is the mean number of bits, a byte of the dump, of the differences of
// neighbors in lines and columns. Neighbors in a picture are alike. With a wrong width lines are
// torn, blocks that are read as lines break after every few samples, and chroma planes that are
// read as pairs flicker. The cost of bytes is the same of any two bytes, whatever the format. So
// the format that explains the bytes with the fewest bits has the lowest score, as in an encoder
// that chooses a predictor by the size of its residuals.
//
// It is computed from a few bands of lines, which the tool's own engine converts to the linear
// format. They are spread over the first span bytes of the file, which it holds, so that readings
// with small and with large frames look at the same part of it. width (pixels) and height (lines)
// are aligned.
std::optional<double> scoreFrames(const std::string& path, int64_t span,
                                  ColorConvert::ColorFormat format, int width, int height);
