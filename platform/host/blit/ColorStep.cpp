#include "ColorStep.h"

#include <libyuv/convert_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Kernel.h"

namespace host {

namespace {

ColorStep fixedPoint(const Affine& affine) {
    constexpr double ONE = 1 << ColorStep::SHIFT;
    ColorStep step = {};
    for (int i = 0; i < CHANNELS; ++i) {
        for (int j = 0; j < CHANNELS; ++j) {
            step.m[i][j] = static_cast<int32_t>(std::lround(affine.m[i][j] * ONE));
        }
        step.offset[i] = static_cast<int32_t>(std::lround((affine.offset[i] + 0.5) * ONE));
    }
    return step;
}

KERNEL_PART int32_t finish(int32_t sum, int32_t max) {
    const int32_t value = sum >> ColorStep::SHIFT;
    const int32_t low = value < 0 ? 0 : value;
    return low > max ? max : low;
}

// Two neighbors of a row, luma of two pixels or Cb and Cr, are taken and put as one word of 32-bit
// arithmetic: vectors then need no shuffles, and the term of a chroma pair meets both its pixels.
template <typename Sample>
struct PairOf;
template <>
struct PairOf<uint8_t> {
    using Word = uint16_t;
    static constexpr int32_t MAX = 255;
    KERNEL_PART static int32_t first(uint32_t word) { return static_cast<int32_t>(word & 0xFF); }
    KERNEL_PART static int32_t second(uint32_t word) { return static_cast<int32_t>(word >> 8); }
    KERNEL_PART static Word join(int32_t first, int32_t second) {
        return static_cast<Word>(first | second << 8);
    }
};
template <>
struct PairOf<uint16_t> {
    using Word = uint32_t;
    static constexpr int32_t MAX = 1023;
    KERNEL_PART static int32_t first(uint32_t word) {
        return static_cast<int32_t>((word & 0xFFFF) >> 6);
    }
    KERNEL_PART static int32_t second(uint32_t word) { return static_cast<int32_t>(word >> 22); }
    KERNEL_PART static Word join(int32_t first, int32_t second) {
        return static_cast<Word>(first) << 6 | static_cast<Word>(second) << 22;
    }
};

template <typename Sample>
KERNEL_PART uint32_t loadPair(const uint8_t* row, int i) {
    typename PairOf<Sample>::Word word = {};
    memcpy(&word, row + sizeof word * static_cast<size_t>(i), sizeof word);
    return word;
}
template <typename Sample>
KERNEL_PART void storePair(int32_t first, int32_t second, uint8_t* row, int i) {
    const auto word = PairOf<Sample>::join(first, second);
    memcpy(row + sizeof word * static_cast<size_t>(i), &word, sizeof word);
}
// The first of pair i, which has no second: the sample that an odd width leaves over.
template <typename Sample>
KERNEL_PART int32_t loadHalf(const uint8_t* row, int i) {
    Sample sample = {};
    memcpy(&sample, row + 2 * sizeof sample * static_cast<size_t>(i), sizeof sample);
    return PairOf<Sample>::first(sample);
}

// Terms of a row; the last of an odd width covers one pixel.
KERNEL_PART int termsOf(int width) { return width / 2 + width % 2; }

// What a row of chroma adds to row k of the step, a term a pair.
template <typename Sample>
KERNEL_PART void chromaTerms(const ColorStep& step, int k, const uint8_t* cbcr, int width,
                             int32_t* __restrict terms) {
    const int32_t cb = step.m[k][1];
    const int32_t cr = step.m[k][2];
    const int32_t offset = step.offset[k];
    for (int i = 0; i < width / 2; ++i) {
        const uint32_t pair = loadPair<Sample>(cbcr, i);
        terms[i] = cb * PairOf<Sample>::first(pair) + cr * PairOf<Sample>::second(pair) + offset;
    }
}

template <typename Sample>
KERNEL_PART void lumaRow(const ColorStep& step, const uint8_t* luma, int width,
                         const int32_t* __restrict terms, uint8_t* __restrict out) {
    const int32_t factor = step.m[0][0];
    constexpr int32_t MAX = PairOf<Sample>::MAX;
    const int pairs = width / 2;
    for (int i = 0; i < pairs; ++i) {
        const uint32_t pair = loadPair<Sample>(luma, i);
        storePair<Sample>(finish(factor * PairOf<Sample>::first(pair) + terms[i], MAX),
                          finish(factor * PairOf<Sample>::second(pair) + terms[i], MAX), out, i);
    }
    if (width % 2 != 0) {
        const auto last = static_cast<Sample>(PairOf<Sample>::join(
            finish(factor * loadHalf<Sample>(luma, pairs) + terms[pairs], MAX), 0));
        memcpy(out + 2 * sizeof last * static_cast<size_t>(pairs), &last, sizeof last);
    }
}

template <typename Sample>
KERNEL_PART void chromaRow(const ColorStep& step, const uint8_t* cbcr, int width,
                           uint8_t* __restrict out) {
    const int32_t cbCb = step.m[1][1];
    const int32_t cbCr = step.m[1][2];
    const int32_t crCb = step.m[2][1];
    const int32_t crCr = step.m[2][2];
    const int32_t cbOffset = step.offset[1];
    const int32_t crOffset = step.offset[2];
    constexpr int32_t MAX = PairOf<Sample>::MAX;
    for (int i = 0; i < width / 2; ++i) {
        const uint32_t pair = loadPair<Sample>(cbcr, i);
        const int32_t cb = PairOf<Sample>::first(pair);
        const int32_t cr = PairOf<Sample>::second(pair);
        storePair<Sample>(finish(cbCb * cb + cbCr * cr + cbOffset, MAX),
                          finish(crCb * cb + crCr * cr + crOffset, MAX), out, i);
    }
}

KERNEL_PART uint32_t rgbaPixel(const ColorStep& step, int32_t y, int32_t redTerm, int32_t greenTerm,
                               int32_t blueTerm) {
    const int32_t r = finish(step.m[0][0] * y + redTerm, 255);
    const int32_t g = finish(step.m[1][0] * y + greenTerm, 255);
    const int32_t b = finish(step.m[2][0] * y + blueTerm, 255);
    return static_cast<uint32_t>(r | g << 8 | b << 16) | 0xFF000000U;
}

template <typename Sample>
KERNEL_PART void rgbaRow(const ColorStep& step, const uint8_t* luma, int width,
                         const int32_t* __restrict red, uint32_t* __restrict out) {
    const int32_t* green = red + termsOf(width);
    const int32_t* blue = green + termsOf(width);
    const int pairs = width / 2;
    for (int i = 0; i < pairs; ++i) {
        const uint32_t pair = loadPair<Sample>(luma, i);
        out[2 * i] = rgbaPixel(step, PairOf<Sample>::first(pair), red[i], green[i], blue[i]);
        out[2 * i + 1] = rgbaPixel(step, PairOf<Sample>::second(pair), red[i], green[i], blue[i]);
    }
    if (width % 2 != 0) {
        out[width - 1] =
            rgbaPixel(step, loadHalf<Sample>(luma, pairs), red[pairs], green[pairs], blue[pairs]);
    }
}

KERNEL void terms8(const ColorStep& step, int k, const uint8_t* cbcr, int width, int32_t* terms) {
    chromaTerms<uint8_t>(step, k, cbcr, width, terms);
}
KERNEL void terms10(const ColorStep& step, int k, const uint8_t* cbcr, int width, int32_t* terms) {
    chromaTerms<uint16_t>(step, k, cbcr, width, terms);
}
KERNEL void rgbaRow8(const ColorStep& step, const uint8_t* luma, int width, const int32_t* terms,
                     uint8_t* out) {
    rgbaRow<uint8_t>(step, luma, width, terms, reinterpret_cast<uint32_t*>(out));
}
KERNEL void rgbaRow10(const ColorStep& step, const uint8_t* luma, int width, const int32_t* terms,
                      uint8_t* out) {
    rgbaRow<uint16_t>(step, luma, width, terms, reinterpret_cast<uint32_t*>(out));
}
KERNEL void lumaRow8(const ColorStep& step, const uint8_t* luma, int width, const int32_t* terms,
                     uint8_t* out) {
    lumaRow<uint8_t>(step, luma, width, terms, out);
}
KERNEL void lumaRow10(const ColorStep& step, const uint8_t* luma, int width, const int32_t* terms,
                      uint8_t* out) {
    lumaRow<uint16_t>(step, luma, width, terms, out);
}
KERNEL void chromaRow8(const ColorStep& step, const uint8_t* cbcr, int width, uint8_t* out) {
    chromaRow<uint8_t>(step, cbcr, width, out);
}
KERNEL void chromaRow10(const ColorStep& step, const uint8_t* cbcr, int width, uint8_t* out) {
    chromaRow<uint16_t>(step, cbcr, width, out);
}

// The row kernels of a YUV form.
struct RowKernels {
    void (*terms)(const ColorStep&, int, const uint8_t*, int, int32_t*);
    void (*rgba)(const ColorStep&, const uint8_t*, int, const int32_t*, uint8_t*);
    void (*luma)(const ColorStep&, const uint8_t*, int, const int32_t*, uint8_t*);
    void (*chroma)(const ColorStep&, const uint8_t*, int, uint8_t*);
};

const RowKernels& kernelsOf(Form form) {
    static constexpr RowKernels NV12 = {terms8, rgbaRow8, lumaRow8, chromaRow8};
    static constexpr RowKernels P010 = {terms10, rgbaRow10, lumaRow10, chromaRow10};
    return form == Form::NV12 ? NV12 : P010;
}

// Walks the lines of a strip, making the first termRows rows of chroma terms anew where a line
// begins a new row of chroma: row(line).
template <typename Row>
void forEachLine(Form form, const ColorStep& step, const Strip& strip, ConstRows chroma,
                 int termRows, int32_t* terms, Row row) {
    const int32_t middle = 1 << (bitsOf(form) - 1);
    const int count = termsOf(strip.width);
    const bool gray = strip.chromaLines == 0 || strip.width < 2;
    for (int k = 0; gray && k < termRows; ++k) {
        std::fill_n(terms + k * count, count,
                    (step.m[k][1] + step.m[k][2]) * middle + step.offset[k]);
    }
    for (int line = 0; line < strip.lines; ++line) {
        if (!gray && line % 2 == 0) {
            const int chromaLine = std::min(line / 2, strip.chromaLines - 1);
            for (int k = 0; k < termRows; ++k) {
                int32_t* rowTerms = terms + k * count;
                kernelsOf(form).terms(step, k, chroma.data + chromaLine * chroma.pitch, strip.width,
                                      rowTerms);
                // An odd width's last column is covered by the last pair.
                rowTerms[count - 1] = rowTerms[strip.width / 2 - 1];
            }
        }
        row(line);
    }
}

KERNEL void rgba1010102Row(const void* in, int width, void* out) {
    const auto* words = static_cast<const uint32_t*>(in);
    auto* pixels = static_cast<uint32_t*>(out);
    // 255 / 1023 in 16 bits; exact after rounding for all 1024 values.
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

ColorStep stepToRgb(const Profile& profile, int bits) {
    const Affine scale = {{{255, 0, 0}, {0, 255, 0}, {0, 0, 255}}, {0, 0, 0}};
    return fixedPoint(compose(scale, toRgb(profile, bits)));
}

ColorStep stepToYuv(const Profile& from, const Profile& to, int bits) {
    return fixedPoint(compose(fromRgb(to, bits), toRgb(from, bits)));
}

void convertYuvToRgba(Form from, const ColorStep& step, const Strip& strip,
                      const Planes<ConstRows>& in, Rows out, int32_t* scratch) {
    forEachLine(from, step, strip, in.chroma, CHANNELS, scratch, [&](int line) {
        kernelsOf(from).rgba(step, in.main.data + line * in.main.pitch, strip.width, scratch,
                             out.data + line * out.pitch);
    });
}

void convertYuvToYuv(Form form, const ColorStep& step, const Strip& strip,
                     const Planes<ConstRows>& in, const Planes<Rows>& out, int32_t* scratch) {
    forEachLine(form, step, strip, in.chroma, 1, scratch, [&](int line) {
        kernelsOf(form).luma(step, in.main.data + line * in.main.pitch, strip.width, scratch,
                             out.main.data + line * out.main.pitch);
    });
    const int odd = strip.width % 2 * bytesOf(form);
    const int paired = strip.width / 2 * 2 * bytesOf(form);
    for (int line = 0; line < strip.chromaLines; ++line) {
        const uint8_t* from = in.chroma.data + line * in.chroma.pitch;
        uint8_t* to = out.chroma.data + line * out.chroma.pitch;
        kernelsOf(form).chroma(step, from, strip.width, to);
        std::copy_n(from + paired, odd, to + paired);
    }
}

void convertRgbToRgba(Form from, const Strip& strip, ConstRows in, Rows out) {
    if (from == Form::RGB888) {
        // libyuv names formats by words: its ARGB is any four bytes that end with alpha.
        libyuv::RGB24ToARGB(in.data, static_cast<int>(in.pitch), out.data,
                            static_cast<int>(out.pitch), strip.width, strip.lines);
        return;
    }
    for (int line = 0; line < strip.lines; ++line) {
        rgba1010102Row(in.data + line * in.pitch, strip.width, out.data + line * out.pitch);
    }
}

}  // namespace host
