#include "Unpack.h"

#include <libyuv/planar_functions.h>

#include <algorithm>
#include <cstring>

namespace host {

namespace {

// Calls line(from, to) for each line of each block.
template <typename Line>
inline void forEachBlockLine(const PlaneLayout& plane, int sampleBytes, ConstRows from, int samples,
                             int rowCount, Rows to, int lineBytes, Line line) {
    const int blocksAcross = samples / plane.blockWidth;
    for (int top = 0; top < rowCount; top += plane.blockHeight) {
        const uint8_t* block = from.data + plane.blockOffset;
        uint8_t* out = to.data;
        for (int i = 0; i < blocksAcross; ++i) {
            for (int l = 0; l < plane.blockHeight; ++l) {
                line(block + l * lineBytes, out + l * to.pitch);
            }
            block += plane.blockBytes;
            out += plane.blockWidth * sampleBytes;
        }
        from.data += from.pitch;
        to.data += plane.blockHeight * to.pitch;
    }
}

template <int WIDTH>
void copyBlocks(const PlaneLayout& plane, ConstRows from, int samples, int rowCount, Rows to) {
    forEachBlockLine(plane, 1, from, samples, rowCount, to, WIDTH,
                     [](const uint8_t* in, uint8_t* out) { memcpy(out, in, WIDTH); });
}

// Unpacks the four lowest samples of BITS bits to 16-bit words, whose highest 10 bits are the
// highest 10 of the sample. It first separates two pairs of samples, then the two samples of each
// pair. Sample by sample, these formats would take 2.2 times as long.
template <int BITS>
inline void unpackFour(uint64_t packed, uint8_t* out) {
    constexpr uint64_t LOW_PAIR = (UINT64_C(1) << 2 * BITS) - 1;
    constexpr uint64_t EVEN = ((UINT64_C(1) << BITS) - 1) * 0x0000'0001'0000'0001;
    const uint64_t pairs = (packed & LOW_PAIR) | (packed & LOW_PAIR << 2 * BITS) << (32 - 2 * BITS);
    const uint64_t words = (pairs & EVEN) | (pairs & EVEN << BITS) << (16 - BITS);
    const uint64_t samples = words << (16 - BITS) & 0xFFC0'FFC0'FFC0'FFC0;
    memcpy(out, &samples, sizeof samples);
}

template <int BITS, int WIDTH>
void unpackBits(const PlaneLayout& plane, ConstRows from, int samples, int rowCount, Rows to) {
    constexpr int LINE_BYTES = WIDTH * BITS / 8;
    forEachBlockLine(plane, 2, from, samples, rowCount, to, LINE_BYTES,
                     [](const uint8_t* in, uint8_t* out) {
                         for (int i = 0; i < WIDTH / 4; ++i) {
                             uint64_t packed = 0;
                             // The last samples are loaded with those before them, so that the
                             // word doesn't reach beyond the line.
                             const int first = i * BITS / 2;
                             const int start = std::min(first, LINE_BYTES - 8);
                             memcpy(&packed, in + start, sizeof packed);
                             unpackFour<BITS>(packed >> (first - start) * 8, out + i * 8);
                         }
                     });
}

}  // namespace

void unpackPlane(const PlaneLayout& plane, int sampleBytes, ConstRows from, int samples,
                 int rowCount, Rows to) {
    switch (plane.packing) {
        case Packing::LINEAR:
            libyuv::CopyPlane(from.data, static_cast<int>(from.pitch), to.data,
                              static_cast<int>(to.pitch), samples * sampleBytes, rowCount);
            break;
        case Packing::BLOCKS_8:
            if (plane.blockWidth == 8) {
                copyBlocks<8>(plane, from, samples, rowCount, to);
            } else if (plane.blockWidth == 16) {
                copyBlocks<16>(plane, from, samples, rowCount, to);
            } else {
                copyBlocks<64>(plane, from, samples, rowCount, to);
            }
            break;
        case Packing::BLOCKS_10:
            unpackBits<10, 16>(plane, from, samples, rowCount, to);
            break;
        case Packing::BLOCKS_12:
            if (plane.blockWidth == 16) {
                unpackBits<12, 16>(plane, from, samples, rowCount, to);
            } else {
                unpackBits<12, 8>(plane, from, samples, rowCount, to);
            }
            break;
    }
}

void mergeChroma(ConstRows cb, ConstRows cr, int pairs, int rowCount, Rows to) {
    libyuv::MergeUVPlane(cb.data, static_cast<int>(cb.pitch), cr.data, static_cast<int>(cr.pitch),
                         to.data, static_cast<int>(to.pitch), pairs, rowCount);
}

}  // namespace host
