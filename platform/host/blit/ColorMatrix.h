// Matrices and ranges of the color spaces, in floating point.
#pragma once

#include <cstdint>

namespace host {

constexpr int CHANNELS = 3;

// out = m * in + offset.
struct Affine {
    double m[CHANNELS][CHANNELS];
    double offset[CHANNELS];
};

// The map that applies first, then second.
Affine compose(const Affine& second, const Affine& first);

// A color space: the weights of red and blue in luma, and the range of samples.
struct Profile {
    uint32_t code;  // PX_PROFILE_ENUM
    double kr;
    double kb;
    bool full;  // range; else limited
};

// Null for a code that the engine doesn't know.
const Profile* findProfile(uint32_t code);

// Maps Y, Cb, Cr samples of a profile and depth (bits) to R, G, B from 0 to 1.
Affine toRgb(const Profile& profile, int bits);

// Maps R, G, B from 0 to 1 to Y, Cb, Cr samples.
Affine fromRgb(const Profile& profile, int bits);

}  // namespace host
