// The color arithmetic: one affine transform in fixed point for each pair of color spaces and
// depths, and the conversions between linear formats that need arithmetic.
#pragma once

#include <cstdint>

#include "ColorMatrix.h"
#include "Layout.h"
#include "Unpack.h"

namespace host {

// out[k] = (m[k][0] * y + m[k][1] * cb + m[k][2] * cr + offset[k]) >> SHIFT, clamped to the
// range of the output's samples. Samples are integers of the source's and the output's depth.
struct ColorTransform {
    static constexpr int SHIFT = 20;  // with it, sums of 10-bit samples stay below 2^31
    int32_t m[CHANNELS][CHANNELS];
    int32_t offset[CHANNELS];  // includes the half that rounds
};

// From samples of a profile and depth to full-range 8-bit RGB.
ColorTransform transformToRgb(const Profile& profile, int bits);
// From one profile to another at the same depth. In the chroma rows of the matrix the factor of
// luma is zero.
ColorTransform transformToYuv(const Profile& from, const Profile& to, int bits);

// A strip of a frame in a linear format: pixel or luma rows, and Cb, Cr rows. A chroma row covers
// two lines. Lines at the end of the frame that have no chroma row are covered by the last one.
struct Strip {
    int width;
    int lines;
    int chromaLines;  // 0 for a frame without chroma rows
};
template <typename R>
struct Planes {
    R main;
    R chroma;
};

// A chroma row holds width / 2 pairs; with an odd width, its last sample is copied. scratch holds
// 3 * width values.
void convertYuvToRgba(LinearFormat from, const ColorTransform& transform, const Strip& strip,
                      const Planes<ConstRows>& in, Rows out, int32_t* scratch);
void convertYuvToYuv(LinearFormat format, const ColorTransform& transform, const Strip& strip,
                     const Planes<ConstRows>& in, const Planes<Rows>& out, int32_t* scratch);
void convertRgbToRgba(LinearFormat from, const Strip& strip, ConstRows in, Rows out);

}  // namespace host
