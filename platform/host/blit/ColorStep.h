// The color arithmetic: one affine fixed-point step for every pair of color spaces and depths, and
// the conversions between plain forms that need arithmetic.
#pragma once

#include <cstdint>

#include "ColorMatrix.h"
#include "Layout.h"
#include "Unpack.h"

namespace host {

// out[k] = (m[k][0] * y + m[k][1] * cb + m[k][2] * cr + offset[k]) >> SHIFT, kept to the range of
// the output's samples. Samples are plain integers of the source's and the output's depth.
struct ColorStep {
    static constexpr int SHIFT = 20;  // sums then stay below 2^31 for 10-bit extremes
    int32_t m[CHANNELS][CHANNELS];
    int32_t offset[CHANNELS];  // holds the half that rounds
};

// From samples of a profile and depth to full-range 8-bit RGB.
ColorStep stepToRgb(const Profile& profile, int bits);
// Between profiles at the same depth. Luma has no part in the chroma rows of the matrix.
ColorStep stepToYuv(const Profile& from, const Profile& to, int bits);

// A strip of a frame in a plain form: pixel or luma rows, and Cb, Cr rows. A row of chroma covers
// two lines; where the frame's last lines have none of their own, its last row covers them.
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

// A row of chroma holds width / 2 pairs; the sample that an odd width leaves over is passed
// through. scratch holds 3 * width values.
void convertYuvToRgba(Form from, const ColorStep& step, const Strip& strip,
                      const Planes<ConstRows>& in, Rows out, int32_t* scratch);
void convertYuvToYuv(Form form, const ColorStep& step, const Strip& strip,
                     const Planes<ConstRows>& in, const Planes<Rows>& out, int32_t* scratch);
void convertRgbToRgba(Form from, const Strip& strip, ConstRows in, Rows out);

}  // namespace host
