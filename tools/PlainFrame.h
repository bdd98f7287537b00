// A frame in one of the plain forms, in memory.
#pragma once

#include <cstdint>
#include <vector>

#include "blit/ColorMatrix.h"
#include "blit/Layout.h"
#include "color/ColorConvert.h"

struct PlainFrame {
    host::Form form;
    int width;                   // pixels
    int height;                  // lines
    std::vector<uint8_t> bytes;  // rows without gaps

    PlainFrame(host::Form of, int w, int h);

    // Bytes of such a frame.
    static size_t sizeOf(host::Form form, int width, int height);

    // Sample x of row y: of pixels' bytes (RGB), of luma, or of Cb, Cr pairs. Beyond the frame the
    // nearest pixel's; no color where the frame has no chroma.
    int rgbByte(int x, int y) const;
    int luma(int x, int y) const;
    int chroma(int x, int y) const;
};

// The plain frame of raw rows: of its own form, or with planes of chroma, which are merged.
// geometry: of the raw frame.
PlainFrame plainFrameOf(std::vector<uint8_t> raw, const host::Layout& layout,
                        const ColorConvert::ColorConvertBuffer& geometry);

// The picture in another form; profile: of YUV on either side. Chroma is the mean
// of the pixels that it covers, and a pixel's is that of the sample that covers it.
PlainFrame convertPicture(const PlainFrame& picture, host::Form form, const host::Profile& profile);
