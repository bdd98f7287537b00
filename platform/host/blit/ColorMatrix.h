// The color spaces' matrices and ranges, in floating point.
#pragma once

#include <cstdint>

namespace host {

// out = m * in + offset.
struct Affine {
    double m[3][3];
    double offset[3];
};

// The step that does first, then second.
Affine compose(const Affine& second, const Affine& first);

// Y, Cb, Cr samples of a PX_PROFILE_ENUM and depth to R, G, B from 0 to 1.
Affine toRgb(uint32_t profile, int bits);

// R, G, B from 0 to 1 to Y, Cb, Cr samples.
Affine fromRgb(uint32_t profile, int bits);

}  // namespace host
