// The color spaces' matrices and ranges, in floating point.
#pragma once

#include <cstdint>

namespace host {

constexpr int CHANNELS = 3;  // of a color

// out = m * in + offset.
struct Affine {
    double m[CHANNELS][CHANNELS];
    double offset[CHANNELS];
};

// The step that does first, then second.
Affine compose(const Affine& second, const Affine& first);

// What a PX_PROFILE_ENUM stands for: the weights of red and blue in luma, and the range.
struct Profile {
    uint32_t code;
    double kr;
    double kb;
    bool full;
};

// Null for a code that the engine doesn't know.
const Profile* findProfile(uint32_t code);

// Y, Cb, Cr samples of a profile and depth to R, G, B from 0 to 1.
Affine toRgb(const Profile& profile, int bits);

// R, G, B from 0 to 1 to Y, Cb, Cr samples.
Affine fromRgb(const Profile& profile, int bits);

}  // namespace host
