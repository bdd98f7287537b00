// Packs plain frames into the layouts of dumps, one sample at a time: the plain counterpart of the
// blit engine's unpackers.
#pragma once

#include <cstdint>
#include <vector>

#include "PlainFrame.h"
#include "color/ColorConvert.h"

// The frame in the format, size and layout of a dump, padded to width x height with its last
// pixels. The frame has the layout's plain form; headers of compressed formats are zero.
std::vector<uint8_t> packFrame(const PlainFrame& frame, const host::Layout& layout,
                               ColorConvert::ColorFormat format, int width, int height);
