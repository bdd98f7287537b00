#include "ColorStep.h"

#include <libyuv/convert_argb.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ColorMatrix.h"
#include "Kernel.h"

namespace host {

namespace {

ColorStep fixedPoint(const Affine& affine) {
    constexpr double ONE = 1 << ColorStep::SHIFT;
    ColorStep step = {};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            step.m[i][j] = static_cast<int32_t>(std::lround(affine.m[i][j] * ONE));
        }
        step.offset[i] = static_cast<int32_t>(std::lround((affine.offset[i] + 0.5) * ONE));
    }
    return step;
}

// Plain samples and their integers.
KERNEL_PART int32_t load(uint8_t sample) { return sample; }
KERNEL_PART int32_t load(uint16_t sample) { return sample >> 6; }
KERNEL_PART void store(int32_t value, uint8_t& sample) { sample = static_cast<uint8_t>(value); }
KERNEL_PART void store(int32_t value, uint16_t& sample) {
    sample = static_cast<uint16_t>(value << 6);
}
template <typename Sample>
constexpr int32_t MAX = sizeof(Sample) == 1 ? 255 : 1023;

KERNEL_PART int32_t finish(int32_t sum, int32_t max) {
    const int32_t value = sum >> ColorStep::SHIFT;
    const int32_t low = value < 0 ? 0 : value;
    return low > max ? max : low;
}

// A Cb, Cr pair as it lies in memory: one word, so that a loop need not part the two.
template <typename Sample>
struct PairOf;
template <>
struct PairOf<uint8_t> {
    using Word = uint16_t;
    static constexpr int BITS = 8;
};
template <>
struct PairOf<uint16_t> {
    using Word = uint32_t;
    static constexpr int BITS = 16;
};
template <typename Sample>
using Pair = typename PairOf<Sample>::Word;

template <typename Sample>
KERNEL_PART Pair<Sample> loadPair(const uint8_t* row, int i) {
    Pair<Sample> pair = 0;
    memcpy(&pair, row + sizeof pair * static_cast<size_t>(i), sizeof pair);
    return pair;
}
template <typename Sample>
KERNEL_PART int32_t cbOf(Pair<Sample> pair) {
    return load(static_cast<Sample>(pair));
}
template <typename Sample>
KERNEL_PART int32_t crOf(Pair<Sample> pair) {
    return load(static_cast<Sample>(pair >> PairOf<Sample>::BITS));
}

// What a row of chroma adds to row k of the step, for every pixel that it covers.
template <typename Sample>
KERNEL_PART void chromaTerms(const ColorStep& step, int k, const uint8_t* cbcr, int width,
                             int32_t* __restrict terms) {
    const int32_t cb = step.m[k][1];
    const int32_t cr = step.m[k][2];
    const int32_t offset = step.offset[k];
    for (int i = 0; i < width / 2; ++i) {
        const Pair<Sample> pair = loadPair<Sample>(cbcr, i);
        const int32_t term = cb * cbOf<Sample>(pair) + cr * crOf<Sample>(pair) + offset;
        terms[2 * i] = term;
        terms[2 * i + 1] = term;
    }
}

// The column of an odd width beyond the last pair is covered by that pair.
void coverLastColumn(int width, int32_t* terms) {
    if (width % 2 != 0 && width > 1) {
        terms[width - 1] = terms[width - 2];
    }
}

template <typename Sample>
KERNEL_PART void rgbaRow(const ColorStep& step, const Sample* luma, int width,
                         const int32_t* __restrict terms, uint32_t* __restrict out) {
    const int32_t red = step.m[0][0];
    const int32_t green = step.m[1][0];
    const int32_t blue = step.m[2][0];
    const int32_t* greenTerms = terms + width;
    const int32_t* blueTerms = greenTerms + width;
    for (int i = 0; i < width; ++i) {
        const int32_t y = load(luma[i]);
        const int32_t r = finish(red * y + terms[i], 255);
        const int32_t g = finish(green * y + greenTerms[i], 255);
        const int32_t b = finish(blue * y + blueTerms[i], 255);
        out[i] = static_cast<uint32_t>(r | g << 8 | b << 16) | 0xFF000000U;
    }
}

template <typename Sample>
KERNEL_PART void lumaRow(const ColorStep& step, const Sample* luma, int width,
                         const int32_t* __restrict terms, Sample* __restrict out) {
    const int32_t factor = step.m[0][0];
    for (int i = 0; i < width; ++i) {
        store(finish(factor * load(luma[i]) + terms[i], MAX<Sample>), out[i]);
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
    for (int i = 0; i < width / 2; ++i) {
        const Pair<Sample> pair = loadPair<Sample>(cbcr, i);
        const int32_t cb = cbOf<Sample>(pair);
        const int32_t cr = crOf<Sample>(pair);
        Sample newCb = 0;
        Sample newCr = 0;
        store(finish(cbCb * cb + cbCr * cr + cbOffset, MAX<Sample>), newCb);
        store(finish(crCb * cb + crCr * cr + crOffset, MAX<Sample>), newCr);
        const auto result =
            static_cast<Pair<Sample>>(newCb | static_cast<uint32_t>(newCr) << PairOf<Sample>::BITS);
        memcpy(out + sizeof result * static_cast<size_t>(i), &result, sizeof result);
    }
}

KERNEL void terms8(const ColorStep& step, int k, const uint8_t* cbcr, int width, int32_t* terms) {
    chromaTerms<uint8_t>(step, k, cbcr, width, terms);
}
KERNEL void terms10(const ColorStep& step, int k, const uint8_t* cbcr, int width, int32_t* terms) {
    chromaTerms<uint16_t>(step, k, cbcr, width, terms);
}
KERNEL void rgbaRow8(const ColorStep& step, const void* luma, int width, const int32_t* terms,
                     void* out) {
    rgbaRow(step, static_cast<const uint8_t*>(luma), width, terms, static_cast<uint32_t*>(out));
}
KERNEL void rgbaRow10(const ColorStep& step, const void* luma, int width, const int32_t* terms,
                      void* out) {
    rgbaRow(step, static_cast<const uint16_t*>(luma), width, terms, static_cast<uint32_t*>(out));
}
KERNEL void lumaRow8(const ColorStep& step, const void* luma, int width, const int32_t* terms,
                     void* out) {
    lumaRow(step, static_cast<const uint8_t*>(luma), width, terms, static_cast<uint8_t*>(out));
}
KERNEL void lumaRow10(const ColorStep& step, const void* luma, int width, const int32_t* terms,
                      void* out) {
    lumaRow(step, static_cast<const uint16_t*>(luma), width, terms, static_cast<uint16_t*>(out));
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
    void (*rgba)(const ColorStep&, const void*, int, const int32_t*, void*);
    void (*luma)(const ColorStep&, const void*, int, const int32_t*, void*);
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
    const bool gray = strip.chromaLines == 0 || strip.width < 2;
    for (int k = 0; gray && k < termRows; ++k) {
        std::fill_n(terms + k * strip.width, strip.width,
                    (step.m[k][1] + step.m[k][2]) * middle + step.offset[k]);
    }
    for (int line = 0; line < strip.lines; ++line) {
        if (!gray && line % 2 == 0) {
            const int chromaLine = std::min(line / 2, strip.chromaLines - 1);
            for (int k = 0; k < termRows; ++k) {
                int32_t* rowTerms = terms + k * strip.width;
                kernelsOf(form).terms(step, k, chroma.data + chromaLine * chroma.pitch, strip.width,
                                      rowTerms);
                coverLastColumn(strip.width, rowTerms);
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

ColorStep stepToRgb(uint32_t profile, int bits) {
    const Affine scale = {{{255, 0, 0}, {0, 255, 0}, {0, 0, 255}}, {0, 0, 0}};
    return fixedPoint(compose(scale, toRgb(profile, bits)));
}

ColorStep stepToYuv(uint32_t fromProfile, uint32_t toProfile, int bits) {
    return fixedPoint(compose(fromRgb(toProfile, bits), toRgb(fromProfile, bits)));
}

void convertYuvToRgba(Form from, const ColorStep& step, const Strip& strip,
                      const Planes<ConstRows>& in, Rows out, int32_t* scratch) {
    forEachLine(from, step, strip, in.chroma, 3, scratch, [&](int line) {
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
