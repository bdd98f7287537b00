// The catalogue has a row for each color format and each color space, in the order of
// ColorConvert's enumerations.
#pragma once

#include <array>
#include <cstdint>

#include "color/ColorConvert.h"
#include "color/Size.h"

// A format works only on the listed boards (ro.board.platform), or on all but those.
struct PlatformSupport {
    enum Kind { ONLY_ON, ALL_BUT };
    Kind kind;
    const char* const* boards;  // ends with a null pointer
};

// This says how large a part file of a separate frame is, and where it lies in the frame, in bytes.
struct FramePart {
    Size size;
    Size offset;
};
// The order is luma body, luma header, chroma body, chroma header.
using FrameParts = std::array<FramePart, 4>;

struct ColorFormatInfo {
    ColorConvert::ColorFormat value;
    uint32_t pxColor;  // the blit library's code
    const char* name;
    // The plane rule computes plane sizes, pitches and plane count from width and height. If a
    // number leaves the signed 32-bit range, the count is 0, and sizes and pitches are undefined.
    void (*calculate)(ColorConvert::ColorConvertBuffer&);
    int32_t widthAlignment;   // pixels
    int32_t heightAlignment;  // lines
    ColorConvert::ColorFormat defaultOutput;
    const char* extension;
    // The part rule lists the parts of a frame of area pixels. Formats without parts have null.
    FrameParts (*parts)(Size area);
    PlatformSupport support;
    const char* description;
};

extern const std::array<ColorFormatInfo, ColorConvert::COLOR_FORMAT_COUNT> colorFormatInfos;

// Returns the format's row, or that of UNKNOWN for a value outside the catalogue.
const ColorFormatInfo& colorFormatInfo(ColorConvert::ColorFormat format);

struct ColorSpaceInfo {
    ColorConvert::ColorSpace value;
    const char* name;
    const char* description;
    uint32_t pxProfile;  // the blit library's PX_PROFILE_ENUM
};

extern const std::array<ColorSpaceInfo, ColorConvert::COLOR_SPACE_COUNT> colorSpaceInfos;
