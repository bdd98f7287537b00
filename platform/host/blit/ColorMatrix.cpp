#include "ColorMatrix.h"

namespace host {

namespace {

constexpr Profile PROFILES[] = {
    {0, 0.299, 0.114, false},    // BT.601, limited range
    {1, 0.2126, 0.0722, false},  // BT.709, limited range
    {2, 0.299, 0.114, true},     // BT.601, full range
    {3, 0.2627, 0.0593, false},  // BT.2020, limited range
    {4, 0.2126, 0.0722, true},   // BT.709, full range
    {5, 0.2627, 0.0593, true},   // BT.2020, full range
};

// A Range has the black level, the neutral chroma value and the spans of luma and chroma, as values
// of samples of a depth.
struct Range {
    double black;
    double luma;
    double neutral;
    double chroma;
};

Range rangeOf(const Profile& profile, int bits) {
    const double unit = 1 << (bits - 8);
    const double neutral = 128 * unit;
    const double top = 256 * unit - 1;
    return profile.full ? Range{0, top, neutral, top}
                        : Range{16 * unit, 219 * unit, neutral, 224 * unit};
}

}  // namespace

const Profile* findProfile(uint32_t code) {
    for (const Profile& profile : PROFILES) {
        if (profile.code == code) {
            return &profile;
        }
    }
    return nullptr;
}

Affine compose(const Affine& second, const Affine& first) {
    Affine result = {};
    for (int i = 0; i < CHANNELS; ++i) {
        result.offset[i] = second.offset[i];
        for (int k = 0; k < CHANNELS; ++k) {
            result.offset[i] += second.m[i][k] * first.offset[k];
            for (int j = 0; j < CHANNELS; ++j) {
                result.m[i][j] += second.m[i][k] * first.m[k][j];
            }
        }
    }
    return result;
}

Affine toRgb(const Profile& profile, int bits) {
    const Range range = rangeOf(profile, bits);
    const double kg = 1 - profile.kr - profile.kb;
    const double red = 2 * (1 - profile.kr);
    const double blue = 2 * (1 - profile.kb);
    const Affine normalize = {
        {{1 / range.luma, 0, 0}, {0, 1 / range.chroma, 0}, {0, 0, 1 / range.chroma}},
        {-range.black / range.luma, -range.neutral / range.chroma, -range.neutral / range.chroma}};
    const Affine matrix = {
        {{1, 0, red}, {1, -profile.kb * blue / kg, -profile.kr * red / kg}, {1, blue, 0}},
        {0, 0, 0}};
    return compose(matrix, normalize);
}

Affine fromRgb(const Profile& profile, int bits) {
    const Range range = rangeOf(profile, bits);
    const double kr = profile.kr;
    const double kb = profile.kb;
    const double kg = 1 - kr - kb;
    const double red = 2 * (1 - kr);
    const double blue = 2 * (1 - kb);
    const Affine matrix = {{{kr, kg, kb},
                            {-kr / blue, -kg / blue, (1 - kb) / blue},
                            {(1 - kr) / red, -kg / red, -kb / red}},
                           {0, 0, 0}};
    const Affine scale = {{{range.luma, 0, 0}, {0, range.chroma, 0}, {0, 0, range.chroma}},
                          {range.black, range.neutral, range.neutral}};
    return compose(scale, matrix);
}

}  // namespace host
