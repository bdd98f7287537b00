// Where the planes and headers of a frame are stored, by the catalogue and the engine's layouts.
#pragma once

#include <string>

#include "blit/Layout.h"
#include "color/ColorConvert.h"

struct FrameGeometry {
    // width (pixels) and height (lines) are aligned, and the frame's size is in range.
    FrameGeometry(ColorConvert::ColorFormat format, int width, int height);

    // True when the first frame of the file has headers that are not all zero. Its blocks are
    // compressed then.
    bool isCompressed(const std::string& path) const;

    const host::Layout& layout;
    ColorConvert::ColorConvertBuffer buffer;  // sizes and pitches of the planes
    host::Offsets offsets;
};

// True when one of size bytes of the file, from offset on, is not zero.
bool isUsed(const std::string& path, int64_t offset, int64_t size);
