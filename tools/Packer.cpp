#include "Packer.h"

#include "color/Catalogue.h"

using host::Packing;
using host::PlaneLayout;
using host::Role;

namespace {

// Where the samples of one plane go.
struct Target {
    const PlaneLayout& plane;
    uint8_t* body;
    int samples;         // of a row
    int pitch;           // bytes of a row, where the plane is rows
    int rowSampleBytes;  // of a sample of rows
};

int bitsOfPacking(Packing packing) {
    return packing == Packing::BLOCKS_10 ? 10 : packing == Packing::BLOCKS_12 ? 12 : 8;
}

void orBits(uint8_t* bytes, int64_t bit, unsigned value) {
    value <<= bit % 8;
    for (uint8_t* byte = bytes + bit / 8; value != 0; value >>= 8) {
        *byte++ |= static_cast<uint8_t>(value);
    }
}

void put(const Target& target, int x, int y, int value) {
    const PlaneLayout& plane = target.plane;
    if (plane.isRows()) {
        const bool word = target.rowSampleBytes == 2;
        orBits(target.body + int64_t{y} * target.pitch,
               int64_t{x} * target.rowSampleBytes * 8 + (word ? 6 : 0),
               static_cast<unsigned>(value));
        return;
    }
    const int64_t block = int64_t{y / plane.blockLines} * (target.samples / plane.blockSamples) +
                          x / plane.blockSamples;
    const int sample = y % plane.blockLines * plane.blockSamples + x % plane.blockSamples;
    const int bits = bitsOfPacking(plane.packing);
    // Of 12 stored bits the highest 10 are the sample.
    const int shift = bits == 12 ? 2 : 0;
    orBits(target.body + block * plane.blockBytes + plane.blockOffset, int64_t{sample} * bits,
           static_cast<unsigned>(value) << shift);
}

// Sample x of row y of a plane of the layout.
int valueAt(const PlainFrame& frame, const host::Layout& layout, size_t plane, int x, int y) {
    const int crFirst = layout.crFirst ? 1 : 0;
    switch (layout.planes[plane].role) {
        case Role::RGB:
            return frame.rgbByte(x, y);
        case Role::LUMA:
            return frame.luma(x, y);
        case Role::CHROMA_PAIRS:
            return frame.chroma(x ^ crFirst, y);
        case Role::CHROMA:
            return frame.chroma(x * 2 + ((plane == 2 ? 1 : 0) ^ crFirst), y);
    }
    return 0;
}

}  // namespace

std::vector<uint8_t> packFrame(const PlainFrame& frame, const host::Layout& layout,
                               ColorConvert::ColorFormat format, int width, int height) {
    ColorConvert::ColorConvertBuffer geometry;
    geometry.mWidth = width;
    geometry.mHeight = height;
    colorFormatInfo(format).calculate(geometry);
    const auto bodies = layout.places(width, height, geometry.mPlaneSize).bodies;

    std::vector<uint8_t> dump(
        static_cast<size_t>(ColorConvert::getFrameSize(width, height, format)));
    for (size_t i = 0; i < static_cast<size_t>(layout.planeCount); ++i) {
        const PlaneLayout& plane = layout.planes[i];
        const Target target = {plane, dump.data() + bodies[i], plane.samples(frame.form, width),
                               i == 0 ? geometry.mYPitch : geometry.mUVPitch,
                               sampleBytesOf(frame.form)};
        for (int y = 0; y < plane.lines(height); ++y) {
            for (int x = 0; x < target.samples; ++x) {
                put(target, x, y, valueAt(frame, layout, i, x, y));
            }
        }
    }
    return dump;
}
