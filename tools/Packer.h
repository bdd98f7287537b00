// Packs frames into the layouts of dumps, one sample at a time. It shares no code with the blit
// engine's unpackers, so that tests can hold one against the other.
#pragma once

#include <cstdint>
#include <vector>

#include "LinearFrame.h"
#include "color/ColorConvert.h"

// Returns the frame as a dump of the format, padded to width x height by repeating its last pixels.
// The frame is in the linear format that the format unpacks to. Headers of compressed formats are
// zero.
std::vector<uint8_t> packFrame(const LinearFrame& frame, ColorConvert::ColorFormat format,
                               int width, int height);
