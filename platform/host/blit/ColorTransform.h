// This is the color arithmetic: an affine transform in fixed point from one color space to another,
// and the conversions of linear formats that compute samples.
#pragma once

#include <cstdint>

#include "ColorMatrix.h"
#include "Layout.h"
#include "Unpack.h"

namespace host {

// A transform computes out[k] = (m[k][0] * y + m[k][1] * cb + m[k][2] * cr + offset[k]) >> SHIFT,
// and clamps it to the values that a sample of the output's depth can have.
struct ColorTransform {
    static constexpr int SHIFT = 20;  // it keeps sums of 10-bit samples below 2^31
    int32_t m[CHANNELS][CHANNELS];
    int32_t offset[CHANNELS];  // includes one half, which makes the shift round
};

// Returns the transform from Y, Cb, Cr samples of a profile and depth (bits) to 8-bit RGB.
ColorTransform transformToRgb(const Profile& profile, int bits);
// Returns the transform from one profile to another at the same depth. Y doesn't change Cb and Cr:
// m[1][0] and m[2][0] are zero.
ColorTransform transformToYuv(const Profile& from, const Profile& to, int bits);

// A Strip has the size of a strip of a frame in a linear format. A chroma row covers two lines. The
// last one also covers the line that an odd height leaves.
struct Strip {
    int width;
    int lines;
    int chromaRows;  // 0 for a frame without chroma rows
};
// Planes has the rows of a strip: those of pixels or luma, and those of Cb, Cr pairs.
template <typename R>
struct Planes {
    R main;
    R chroma;
};

// These convert the rows of a strip. A chroma row holds width / 2 pairs. If the width is odd,
// convertYuvToYuv copies the sample that is left. terms is working memory: (width + 1) / 2 values
// for convertYuvToYuv, and CHANNELS times as many for convertYuvToRgba.
void convertYuvToRgba(LinearFormat from, const ColorTransform& transform, const Strip& strip,
                      const Planes<ConstRows>& in, Rows out, int32_t* terms);
void convertYuvToYuv(LinearFormat format, const ColorTransform& transform, const Strip& strip,
                     const Planes<ConstRows>& in, const Planes<Rows>& out, int32_t* terms);
void convertRgbToRgba(LinearFormat from, const Strip& strip, ConstRows in, Rows out);

}  // namespace host
