// A LinearFrame is a frame in one of the linear formats, in memory.
#pragma once

#include <cstdint>
#include <vector>

#include "blit/ColorMatrix.h"
#include "blit/Layout.h"
#include "color/ColorConvert.h"

struct LinearFrame {
    host::LinearFormat format;
    int width;                   // pixels
    int height;                  // lines
    std::vector<uint8_t> bytes;  // rows without gaps

    LinearFrame(host::LinearFormat of, int w, int h);

    // Returns the bytes of a frame without gaps.
    static size_t sizeOf(host::LinearFormat format, int width, int height);

    // These return sample x of row y: a byte of a pixel (RGB), luma, or the Cb or Cr of a pair.
    // Outside the frame it is that of the nearest pixel. If the frame has no chroma, it is the
    // neutral value.
    int rgbByte(int x, int y) const;
    int luma(int x, int y) const;
    int chroma(int x, int y) const;
};

// Makes a frame of raw rows, which are in its linear format or have separate planes of Cb and Cr.
// geometry has the plane sizes and pitches of the raw frame.
LinearFrame linearFrameOf(std::vector<uint8_t> raw, const host::Layout& layout,
                          const ColorConvert::ColorConvertBuffer& geometry);

// Converts the picture to another format. profile is that of the side that is YUV. A chroma sample
// is the mean of the pixels that it covers. A pixel takes the chroma of the sample that covers it.
LinearFrame convertPicture(const LinearFrame& picture, host::LinearFormat format,
                           const host::Profile& profile);
