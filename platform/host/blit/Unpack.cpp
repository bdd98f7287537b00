#include "Unpack.h"

#include <libyuv/planar_functions.h>

#include <cstring>

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

// Four samples of BITS packed bits to four words with the highest 10 of the bits at the top.
template <int BITS>
KERNEL_PART void unpackFour(const uint8_t* in, uint8_t* out) {
    constexpr uint64_t SAMPLE = (1 << BITS) - 1;
    constexpr uint64_t PAIR = SAMPLE | SAMPLE << BITS;
    // Two loads: the bytes of one would have to pass through memory.
    uint32_t low = 0;
    memcpy(&low, in, 4);
    uint64_t bits = low | static_cast<uint64_t>(in[4]) << 32;
    if (BITS == 12) {
        bits |= static_cast<uint64_t>(in[5]) << 40;
    }
    bits = (bits & PAIR) | (bits >> (2 * BITS) & PAIR) << 32;
    constexpr uint64_t EVEN = SAMPLE | SAMPLE << 32;
    bits = (bits & EVEN) | (bits >> BITS & EVEN) << 16;
    constexpr uint64_t TOP_TEN = 0xFFC0'FFC0'FFC0'FFC0;
    bits = bits << (16 - BITS) & TOP_TEN;
    memcpy(out, &bits, 8);
}

template <int BITS, int SAMPLES>
KERNEL_PART void unpackBitBlocks(const PlaneLayout& plane, ConstRows from, int samples, int lines,
                                 Rows to) {
    forEachBlockLine(plane, 2, from, samples, lines, to, SAMPLES * BITS / 8,
                     [](const uint8_t* in, uint8_t* out) {
                         for (int s = 0; s < SAMPLES; s += 4) {
                             unpackFour<BITS>(in + s * BITS / 8, out + s * 2);
                         }
                     });
}

KERNEL void unpack10(const PlaneLayout& plane, ConstRows from, int samples, int lines, Rows to) {
    unpackBitBlocks<10, 16>(plane, from, samples, lines, to);
}

KERNEL void unpack12(const PlaneLayout& plane, ConstRows from, int samples, int lines, Rows to) {
    if (plane.blockSamples == 8) {
        unpackBitBlocks<12, 8>(plane, from, samples, lines, to);
    } else {
        unpackBitBlocks<12, 16>(plane, from, samples, lines, to);
    }
}

void copyRows(ConstRows from, int bytes, int lines, Rows to) {
    libyuv::CopyPlane(from.data, static_cast<int>(from.pitch), to.data, static_cast<int>(to.pitch),
                      bytes, lines);
}

}  // namespace

void unpackPlane(const PlaneLayout& plane, int sampleBytes, ConstRows from, int samples, int lines,
                 Rows to) {
    switch (plane.packing) {
        case Packing::ROWS:
            copyRows(from, samples * sampleBytes, lines, to);
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

void mergeChroma(ConstRows cb, ConstRows cr, int pairs, int lines, Rows to) {
    libyuv::MergeUVPlane(cb.data, static_cast<int>(cb.pitch), cr.data, static_cast<int>(cr.pitch),
                         to.data, static_cast<int>(to.pitch), pairs, lines);
}

}  // namespace host
