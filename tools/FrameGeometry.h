// A FrameGeometry says where the planes and headers of a frame are stored, by the catalogue and the
// engine's layouts.
#pragma once

#include "DumpFile.h"
#include "blit/Layout.h"
#include "color/ColorConvert.h"

struct FrameGeometry {
    // width (pixels) and height (lines) are those that are stored, with padding if there is some.
    // The frame's size is in range.
    FrameGeometry(ColorConvert::ColorFormat format, int width, int height);

    // Returns the bytes of the rows of a plane, or rows of blocks, that this many lines of the
    // frame have.
    int64_t bytesOf(size_t plane, int lines) const;

    // Returns false if a plane is stored in blocks and its rows or lines are no whole number of
    // them. The engine refuses such a frame.
    bool isWholeBlocks() const;

    // Returns true if the first frame of the file, or the last one, has headers that are not all
    // zero. Its blocks are compressed then.
    bool isCompressed(DumpFile& file) const;

    const int size;  // bytes
    const host::Layout& layout;
    ColorConvert::ColorConvertBuffer buffer;  // sizes and pitches of the planes
    host::Offsets offsets;
};
