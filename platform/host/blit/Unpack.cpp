#include "Unpack.h"

#include <libyuv/planar_functions.h>

#include <cstring>
#include <utility>

#include "Kernel.h"

namespace host {

namespace {

// Walks whole blocks: line(from, to) unpacks one line of one block.
template <typename Line>
KERNEL_PART void forEachBlockLine(const PlaneLayout& plane, int sampleBytes, ConstRows from,
                                  int samples, int lines, Rows to, int lineBytes, Line line) {
    const int blocksAcross = samples / plane.blockSamples;
    for (int top = 0; top + plane.blockLines <= lines; top += plane.blockLines) {
        const uint8_t* block = from.data + plane.blockOffset;
        uint8_t* out = to.data;
        for (int i = 0; i < blocksAcross; ++i) {
            for (int l = 0; l < plane.blockLines; ++l) {
                line(block + l * lineBytes, out + l * to.pitch);
            }
            block += plane.blockBytes;
            out += plane.blockSamples * sampleBytes;
        }
        from.data += from.pitch;
        to.data += plane.blockLines * to.pitch;
    }
}

template <int BYTES>
KERNEL_PART void copyBlocks(const PlaneLayout& plane, ConstRows from, int samples, int lines,
                            Rows to) {
    forEachBlockLine(plane, 1, from, samples, lines, to, BYTES,
                     [](const uint8_t* in, uint8_t* out) { memcpy(out, in, BYTES); });
}

KERNEL void unpackByteBlocks(const PlaneLayout& plane, ConstRows from, int samples, int lines,
                             Rows to) {
    if (plane.blockSamples == 8) {
        copyBlocks<8>(plane, from, samples, lines, to);
    } else if (plane.blockSamples == 16) {
        copyBlocks<16>(plane, from, samples, lines, to);
    } else {
        copyBlocks<64>(plane, from, samples, lines, to);
    }
}

using Bytes = uint8_t __attribute__((vector_size(16)));
using Words = uint16_t __attribute__((vector_size(16)));

// The two bytes that hold each of eight packed samples, as words. The samples start at byte START.
template <int BITS, int START, size_t... BYTE>
KERNEL_PART Words spread(Bytes packed, std::index_sequence<BYTE...> /*of the words*/) {
    return reinterpret_cast<Words>(__builtin_shufflevector(
        packed, packed, (START + static_cast<int>(BYTE) / 2 * BITS / 8 + BYTE % 2)...));
}

// What shifts the samples' highest bits to the words' top.
template <int BITS>
constexpr Words FACTORS = {64, 16, 4, 1, 64, 16, 4, 1};
template <>
constexpr Words FACTORS<12> = {16, 1, 16, 1, 16, 1, 16, 1};

// Sixteen samples of BITS packed bits to words with the highest 10 of the bits at the top: the
// first eight to one place, the others to another.
template <int BITS>
KERNEL_PART void unpackSixteen(const uint8_t* in, uint8_t* first, uint8_t* second) {
    constexpr uint16_t TOP_TEN = 0xFFC0;
    constexpr std::make_index_sequence<16> ALL;
    Bytes low;
    Bytes high;
    memcpy(&low, in, sizeof low);
    memcpy(&high, in + 2 * BITS - sizeof high, sizeof high);
    const Words lowWords = spread<BITS, 0>(low, ALL) * FACTORS<BITS> & TOP_TEN;
    const Words highWords = spread<BITS, 16 - BITS>(high, ALL) * FACTORS<BITS> & TOP_TEN;
    memcpy(first, &lowWords, sizeof lowWords);
    memcpy(second, &highWords, sizeof highWords);
}

// Blocks of 16 samples a line.
template <int BITS>
KERNEL_PART void unpackBitBlocks(const PlaneLayout& plane, ConstRows from, int samples, int lines,
                                 Rows to) {
    forEachBlockLine(
        plane, 2, from, samples, lines, to, 2 * BITS,
        [](const uint8_t* in, uint8_t* out) { unpackSixteen<BITS>(in, out, out + 16); });
}

KERNEL void unpack10(const PlaneLayout& plane, ConstRows from, int samples, int lines, Rows to) {
    unpackBitBlocks<10>(plane, from, samples, lines, to);
}

KERNEL void unpack12(const PlaneLayout& plane, ConstRows from, int samples, int lines, Rows to) {
    if (plane.blockSamples == 16) {
        unpackBitBlocks<12>(plane, from, samples, lines, to);
        return;
    }
    // Lines of 8 samples: two of them at once.
    PlaneLayout pairs = plane;
    pairs.blockLines = plane.blockLines / 2;
    Rows evenLines = {to.data, 2 * to.pitch};
    forEachBlockLine(pairs, 2, from, samples, lines / 2, evenLines, 24,
                     [pitch = to.pitch](const uint8_t* in, uint8_t* out) {
                         unpackSixteen<12>(in, out, out + pitch);
                     });
}

}  // namespace

void unpackPlane(const PlaneLayout& plane, int sampleBytes, ConstRows from, int samples, int lines,
                 Rows to) {
    switch (plane.packing) {
        case Packing::ROWS:
            libyuv::CopyPlane(from.data, static_cast<int>(from.pitch), to.data,
                              static_cast<int>(to.pitch), samples * sampleBytes, lines);
            break;
        case Packing::BYTE_BLOCKS:
            unpackByteBlocks(plane, from, samples, lines, to);
            break;
        case Packing::BLOCKS_10:
            unpack10(plane, from, samples, lines, to);
            break;
        case Packing::BLOCKS_12:
            unpack12(plane, from, samples, lines, to);
            break;
    }
}

void swapChroma(Rows rows, int pairs, int lines) {
    const int pitch = static_cast<int>(rows.pitch);
    libyuv::SwapUVPlane(rows.data, pitch, rows.data, pitch, pairs, lines);
}

void mergeChroma(ConstRows cb, ConstRows cr, int pairs, int lines, Rows to) {
    libyuv::MergeUVPlane(cb.data, static_cast<int>(cb.pitch), cr.data, static_cast<int>(cr.pitch),
                         to.data, static_cast<int>(to.pitch), pairs, lines);
}

}  // namespace host
