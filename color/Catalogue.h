// The catalogue: a row for each color format and each color space, in the order of ColorConvert's
// enumerations.
#pragma once

#include <array>
#include <cstdint>

#include "color/ColorConvert.h"
#include "color/Size.h"

// Boards (ro.board.platform) on which a format works: only the listed ones, or all but those.
struct PlatformSupport {
    enum Kind { ONLY_ON, ALL_BUT };
    Kind kind;
    const char* const* boards;  // ends with a null pointer
};

// One part file of a separate frame: its size and its offset in the assembled frame, in bytes.
struct FramePart {
    Size size;
    Size offset;
};
// Luma body, luma header, chroma body, chroma header.
using FrameParts = std::array<FramePart, 4>;

struct ColorFormatInfo {
    ColorConvert::ColorFormat value;
    uint32_t pxColor;  // the blit library's code
    const char* name;
    // Plane rule: computes plane sizes, pitches and plane count from width and height. If a size
    // leaves the signed 32-bit range, the plane count is 0 and the others are undefined.
    void (*calculate)(ColorConvert::ColorConvertBuffer&);
    int32_t widthAlignment;   // pixels
    int32_t heightAlignment;  // lines
    ColorConvert::ColorFormat defaultOutput;
    const char* extension;
    // Part rule of a separate format, for a frame of that many pixels; null for other formats.
    FrameParts (*parts)(Size area);
    PlatformSupport support;
    const char* description;
};

extern const std::array<ColorFormatInfo, ColorConvert::COLOR_FORMAT_COUNT> colorFormatInfos;

// The format's row; UNKNOWN's for a value outside the catalogue.
const ColorFormatInfo& colorFormatInfo(ColorConvert::ColorFormat format);

struct ColorSpaceInfo {
    ColorConvert::ColorSpace value;
    const char* name;
    const char* description;
    uint32_t pxProfile;  // the blit library's PX_PROFILE_ENUM
};

extern const std::array<ColorSpaceInfo, ColorConvert::COLOR_SPACE_COUNT> colorSpaceInfos;
