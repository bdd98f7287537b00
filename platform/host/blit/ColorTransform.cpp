#include "ColorTransform.h"

#include <libyuv/convert_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "Kernel.h"

namespace host {

namespace {

ColorTransform fixedPoint(const Affine& affine) {
    constexpr double ONE = 1 << ColorTransform::SHIFT;
    ColorTransform transform = {};
    for (int i = 0; i < CHANNELS; ++i) {
        for (int j = 0; j < CHANNELS; ++j) {
            transform.m[i][j] = static_cast<int32_t>(std::lround(affine.m[i][j] * ONE));
        }
        transform.offset[i] = static_cast<int32_t>(std::lround((affine.offset[i] + 0.5) * ONE));
    }
    return transform;
}

KERNEL_INLINE int32_t shiftAndClamp(int32_t sum, int32_t max) {
    return std::clamp(sum >> ColorTransform::SHIFT, 0, max);
}

// Two neighbors in a row (luma of two pixels, or Cb and Cr) are loaded and stored as one word, and
// computed as 32-bit integers. So the vectorized loops need no shuffles, and the term of a chroma
// pair serves both of its pixels. Sample by sample, color spaces would take 1.56 times as long.
template <typename Sample>
struct PairOf {
    static constexpr bool WORDS = sizeof(Sample) == 2;  // 10 bits, the highest of 16; else bytes
    using Word = std::conditional_t<WORDS, uint32_t, uint16_t>;
    static constexpr int UNUSED = WORDS ? 6 : 0;   // lowest bits of a sample
    static constexpr int SECOND = WORDS ? 22 : 8;  // lowest bit in use of the second sample
    static constexpr int32_t MAX = WORDS ? 1023 : 255;

    KERNEL_INLINE static int32_t first(uint32_t word) {
        return static_cast<int32_t>(word >> UNUSED & MAX);
    }
    KERNEL_INLINE static int32_t second(uint32_t word) {
        return static_cast<int32_t>(word >> SECOND);
    }
    KERNEL_INLINE static Word join(int32_t first, int32_t second) {
        return static_cast<Word>(static_cast<uint32_t>(first) << UNUSED |
                                 static_cast<uint32_t>(second) << SECOND);
    }
};

template <typename Sample>
KERNEL_INLINE uint32_t loadPair(const uint8_t* row, int i) {
    typename PairOf<Sample>::Word word = {};
    memcpy(&word, row + sizeof word * static_cast<size_t>(i), sizeof word);
    return word;
}
template <typename Sample>
KERNEL_INLINE void storePair(int32_t first, int32_t second, uint8_t* row, int i) {
    const auto word = PairOf<Sample>::join(first, second);
    memcpy(row + sizeof word * static_cast<size_t>(i), &word, sizeof word);
}
// Loads the first sample of pair i, which an odd width leaves without a second one.
template <typename Sample>
KERNEL_INLINE int32_t loadHalf(const uint8_t* row, int i) {
    Sample sample = {};
    memcpy(&sample, row + 2 * sizeof sample * static_cast<size_t>(i), sizeof sample);
    return PairOf<Sample>::first(sample);
}

// Returns the number of chroma terms of a row. If the width is odd, the last one covers one pixel.
KERNEL_INLINE int termsOf(int width) { return width / 2 + width % 2; }

// Computes what each pair of a chroma row adds to output k of the transform.
template <typename Sample>
KERNEL void chromaTerms(const ColorTransform& transform, int k, const uint8_t* cbcr, int width,
                        int32_t* __restrict terms) {
    const int32_t cb = transform.m[k][1];
    const int32_t cr = transform.m[k][2];
    const int32_t offset = transform.offset[k];
    for (int i = 0; i < width / 2; ++i) {
        const uint32_t pair = loadPair<Sample>(cbcr, i);
        terms[i] = cb * PairOf<Sample>::first(pair) + cr * PairOf<Sample>::second(pair) + offset;
    }
}

template <typename Sample>
KERNEL void lumaRow(const ColorTransform& transform, const uint8_t* luma, int width,
                    const int32_t* __restrict terms, uint8_t* __restrict out) {
    const int32_t factor = transform.m[0][0];
    constexpr int32_t MAX = PairOf<Sample>::MAX;
    const int pairs = width / 2;
    for (int i = 0; i < pairs; ++i) {
        const uint32_t pair = loadPair<Sample>(luma, i);
        storePair<Sample>(shiftAndClamp(factor * PairOf<Sample>::first(pair) + terms[i], MAX),
                          shiftAndClamp(factor * PairOf<Sample>::second(pair) + terms[i], MAX), out,
                          i);
    }
    if (width % 2 != 0) {
        const int32_t sum = factor * loadHalf<Sample>(luma, pairs) + terms[pairs];
        const auto last = static_cast<Sample>(shiftAndClamp(sum, MAX) << PairOf<Sample>::UNUSED);
        memcpy(out + 2 * sizeof last * static_cast<size_t>(pairs), &last, sizeof last);
    }
}

template <typename Sample>
KERNEL void chromaRow(const ColorTransform& transform, const uint8_t* cbcr, int width,
                      uint8_t* __restrict out) {
    const int32_t cbCb = transform.m[1][1];
    const int32_t cbCr = transform.m[1][2];
    const int32_t crCb = transform.m[2][1];
    const int32_t crCr = transform.m[2][2];
    const int32_t cbOffset = transform.offset[1];
    const int32_t crOffset = transform.offset[2];
    constexpr int32_t MAX = PairOf<Sample>::MAX;
    for (int i = 0; i < width / 2; ++i) {
        const uint32_t pair = loadPair<Sample>(cbcr, i);
        const int32_t cb = PairOf<Sample>::first(pair);
        const int32_t cr = PairOf<Sample>::second(pair);
        storePair<Sample>(shiftAndClamp(cbCb * cb + cbCr * cr + cbOffset, MAX),
                          shiftAndClamp(crCb * cb + crCr * cr + crOffset, MAX), out, i);
    }
}

KERNEL_INLINE uint32_t rgbaPixel(const ColorTransform& transform, int32_t y, int32_t redTerm,
                                 int32_t greenTerm, int32_t blueTerm) {
    const int32_t r = shiftAndClamp(transform.m[0][0] * y + redTerm, 255);
    const int32_t g = shiftAndClamp(transform.m[1][0] * y + greenTerm, 255);
    const int32_t b = shiftAndClamp(transform.m[2][0] * y + blueTerm, 255);
    return static_cast<uint32_t>(r | g << 8 | b << 16) | 0xFF000000U;
}

// red points to the terms of red. Those of green and those of blue follow in the same array.
template <typename Sample>
KERNEL void rgbaRow(const ColorTransform& transform, const uint8_t* luma, int width,
                    const int32_t* __restrict red, uint8_t* __restrict bytes) {
    auto* __restrict out = reinterpret_cast<uint32_t*>(bytes);
    const int32_t* green = red + termsOf(width);
    const int32_t* blue = green + termsOf(width);
    const int pairs = width / 2;
    for (int i = 0; i < pairs; ++i) {
        const uint32_t pair = loadPair<Sample>(luma, i);
        out[2 * i] = rgbaPixel(transform, PairOf<Sample>::first(pair), red[i], green[i], blue[i]);
        out[2 * i + 1] =
            rgbaPixel(transform, PairOf<Sample>::second(pair), red[i], green[i], blue[i]);
    }
    if (width % 2 != 0) {
        out[width - 1] = rgbaPixel(transform, loadHalf<Sample>(luma, pairs), red[pairs],
                                   green[pairs], blue[pairs]);
    }
}

// RowKernels has the loops over a row of a YUV format.
struct RowKernels {
    void (*terms)(const ColorTransform&, int, const uint8_t*, int, int32_t*);
    void (*rgba)(const ColorTransform&, const uint8_t*, int, const int32_t*, uint8_t*);
    void (*luma)(const ColorTransform&, const uint8_t*, int, const int32_t*, uint8_t*);
    void (*chroma)(const ColorTransform&, const uint8_t*, int, uint8_t*);
};

template <typename Sample>
constexpr RowKernels KERNELS = {chromaTerms<Sample>, rgbaRow<Sample>, lumaRow<Sample>,
                                chromaRow<Sample>};

const RowKernels& kernelsOf(LinearFormat format) {
    return bitsOf(format) == 8 ? KERNELS<uint8_t> : KERNELS<uint16_t>;
}

// Calls row(line) for each line of a strip. Before the first line of each chroma row, it computes
// what that row adds to each output: to R, G and B, or to luma alone if there is one output.
template <typename Row>
void forEachLine(LinearFormat format, const ColorTransform& transform, const Strip& strip,
                 ConstRows chroma, int outputs, int32_t* terms, Row row) {
    const int32_t neutral = 1 << (bitsOf(format) - 1);
    const int count = termsOf(strip.width);
    const bool hasChroma = strip.chromaRows > 0 && strip.width > 1;
    for (int line = 0; line < strip.lines; ++line) {
        for (int k = 0; line % 2 == 0 && k < outputs; ++k) {
            int32_t* rowTerms = terms + k * count;
            if (!hasChroma) {
                const int32_t gray = (transform.m[k][1] + transform.m[k][2]) * neutral;
                std::fill_n(rowTerms, count, gray + transform.offset[k]);
                continue;
            }
            const int chromaRow = std::min(line / 2, strip.chromaRows - 1);
            kernelsOf(format).terms(transform, k, chroma.data + chromaRow * chroma.pitch,
                                    strip.width, rowTerms);
            // If the width is odd, the last pair covers the last column too.
            rowTerms[count - 1] = rowTerms[strip.width / 2 - 1];
        }
        row(line);
    }
}

KERNEL void rgba1010102Row(const void* in, int width, void* out) {
    const auto* words = static_cast<const uint32_t*>(in);
    auto* pixels = static_cast<uint32_t*>(out);
    // This is 255 / 1023 in 16 bits. The rounded result is exact for all 1024 values.
    constexpr uint32_t SCALE = 16336;
    constexpr uint32_t HALF = 1 << 15;
    for (int i = 0; i < width; ++i) {
        const uint32_t word = words[i];
        const uint32_t r = ((word & 0x3FF) * SCALE + HALF) >> 16;
        const uint32_t g = ((word >> 10 & 0x3FF) * SCALE + HALF) >> 16;
        const uint32_t b = ((word >> 20 & 0x3FF) * SCALE + HALF) >> 16;
        pixels[i] = r | g << 8 | b << 16 | (word >> 30) * 85 << 24;
    }
}

}  // namespace

ColorTransform transformToRgb(const Profile& profile, int bits) {
    const Affine scale = {{{255, 0, 0}, {0, 255, 0}, {0, 0, 255}}, {0, 0, 0}};
    return fixedPoint(compose(scale, toRgb(profile, bits)));
}

ColorTransform transformToYuv(const Profile& from, const Profile& to, int bits) {
    return fixedPoint(compose(fromRgb(to, bits), toRgb(from, bits)));
}

void convertYuvToRgba(LinearFormat from, const ColorTransform& transform, const Strip& strip,
                      const Planes<ConstRows>& in, Rows out, int32_t* terms) {
    forEachLine(from, transform, strip, in.chroma, CHANNELS, terms, [&](int line) {
        kernelsOf(from).rgba(transform, in.main.data + line * in.main.pitch, strip.width, terms,
                             out.data + line * out.pitch);
    });
}

void convertYuvToYuv(LinearFormat format, const ColorTransform& transform, const Strip& strip,
                     const Planes<ConstRows>& in, const Planes<Rows>& out, int32_t* terms) {
    forEachLine(format, transform, strip, in.chroma, 1, terms, [&](int line) {
        kernelsOf(format).luma(transform, in.main.data + line * in.main.pitch, strip.width, terms,
                               out.main.data + line * out.main.pitch);
    });
    const int odd = strip.width % 2 * columnBytes(format);
    const int paired = strip.width / 2 * 2 * columnBytes(format);
    for (int row = 0; row < strip.chromaRows; ++row) {
        const uint8_t* from = in.chroma.data + row * in.chroma.pitch;
        uint8_t* to = out.chroma.data + row * out.chroma.pitch;
        kernelsOf(format).chroma(transform, from, strip.width, to);
        std::copy_n(from + paired, odd, to + paired);
    }
}

void convertRgbToRgba(LinearFormat from, const Strip& strip, ConstRows in, Rows out) {
    if (from == LinearFormat::RGB24) {
        // In memory libyuv's RGB24 is B, G, R, and its ARGB is B, G, R, A. It keeps the order of
        // the colors, so it also makes R, G, B, A of R, G, B.
        libyuv::RGB24ToARGB(in.data, static_cast<int>(in.pitch), out.data,
                            static_cast<int>(out.pitch), strip.width, strip.lines);
        return;
    }
    for (int line = 0; line < strip.lines; ++line) {
        rgba1010102Row(in.data + line * in.pitch, strip.width, out.data + line * out.pitch);
    }
}

}  // namespace host
