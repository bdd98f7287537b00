// Reads raw frames, and packs them into the layouts of dumps, one sample at a time. This shares no
// code with the blit engine's unpackers, so that tests can hold one against the other.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "FrameGeometry.h"

// The samples of a pixel are R, G, B and A, or Y, Cb and Cr.
using Pixel = std::array<double, 4>;

// A Picture says which samples a pixel has. Four pixels share samples of Cb and Cr.
struct Picture {
    host::LinearFormat format;  // that has such samples
    int width;                  // pixels
    int height;                 // lines
    // Returns the samples of column x and line y or, outside the picture, those of the nearest
    // pixel that has such samples.
    std::function<Pixel(int x, int y)> pixelAt;
};

// Returns the picture of a raw frame, whose planes are stored in rows. If it has no chroma, this is
// neutral.
Picture unpackFrame(std::vector<uint8_t> bytes, const FrameGeometry& raw);

// Returns the picture as a dump. space is that of YUV, if the picture or the dump is RGB. A chroma
// sample is the mean of the pixels that it covers, or neutral if the picture has less than two
// columns or lines. Headers of compressed formats are zero.
std::vector<uint8_t> packFrame(const Picture& picture, const FrameGeometry& dump,
                               ColorConvert::ColorSpace space);
