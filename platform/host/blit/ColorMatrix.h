// This file has the matrices and ranges of the color spaces, in floating point.
#pragma once

#include <cstdint>

namespace host {

constexpr int CHANNELS = 3;

// An Affine is the map out = m * in + offset.
struct Affine {
    double m[CHANNELS][CHANNELS];
    double offset[CHANNELS];
};

// Returns the map that applies first, then second.
Affine compose(const Affine& second, const Affine& first);

// A Profile is a color space: the weights of red and blue in luma, and the range of samples.
struct Profile {
    uint32_t code;  // PX_PROFILE_ENUM
    double kr;
    double kb;
    bool full;  // range; else limited
};

// Returns null if the engine doesn't know the code.
const Profile* findProfile(uint32_t code);

// Returns the map from Y, Cb, Cr samples of a profile and depth (bits) to R, G, B from 0 to 1.
Affine toRgb(const Profile& profile, int bits);

// Returns the map from R, G, B from 0 to 1 to Y, Cb, Cr samples.
Affine fromRgb(const Profile& profile, int bits);

}  // namespace host
