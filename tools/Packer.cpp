#include "Packer.h"

#include "FrameGeometry.h"

using host::Component;
using host::PlaneLayout;

namespace {

// A Target says where to put the samples of one plane.
struct Target {
    const PlaneLayout& plane;
    uint8_t* start;
    int samples;      // per row
    int pitch;        // bytes per row of a linear plane
    int sampleBytes;  // in a linear plane
};

void orBits(uint8_t* bytes, int64_t bit, unsigned value) {
    value <<= bit % 8;
    for (uint8_t* byte = bytes + bit / 8; value != 0; value >>= 8) {
        *byte++ |= static_cast<uint8_t>(value);
    }
}

void put(const Target& target, int x, int y, int value) {
    const PlaneLayout& plane = target.plane;
    if (plane.isLinear()) {
        const bool word = target.sampleBytes == 2;
        orBits(target.start + int64_t{y} * target.pitch,
               int64_t{x} * target.sampleBytes * 8 + (word ? 6 : 0), static_cast<unsigned>(value));
        return;
    }
    const int64_t block =
        int64_t{y / plane.blockHeight} * (target.samples / plane.blockWidth) + x / plane.blockWidth;
    const int sample = y % plane.blockHeight * plane.blockWidth + x % plane.blockWidth;
    const int bits = host::bitsOf(plane.packing);
    // A sample of 10 bits is stored as the highest of 12.
    const int shift = bits == 12 ? 2 : 0;
    orBits(target.start + block * plane.blockBytes + plane.blockOffset, int64_t{sample} * bits,
           static_cast<unsigned>(value) << shift);
}

// Returns sample x of row y of a plane with that component.
int valueAt(const LinearFrame& frame, Component component, int x, int y) {
    switch (component) {
        case Component::NONE:
            return 0;
        case Component::RGB:
            return frame.rgbByte(x, y);
        case Component::LUMA:
            return frame.luma(x, y);
        case Component::CBCR:
            return frame.chroma(x, y);
        case Component::CB:
            return frame.chroma(x * 2, y);
        case Component::CR:
            return frame.chroma(x * 2 + 1, y);
    }
    return 0;
}

}  // namespace

std::vector<uint8_t> packFrame(const LinearFrame& frame, ColorConvert::ColorFormat format,
                               int width, int height) {
    const FrameGeometry geometry(format, width, height);
    std::vector<uint8_t> dump(static_cast<size_t>(geometry.size));
    for (size_t i = 0; i < static_cast<size_t>(geometry.layout.planeCount); ++i) {
        const PlaneLayout& plane = geometry.layout.planes[i];
        const Target target = {plane, dump.data() + geometry.offsets.planes[i],
                               plane.samplesPerRow(frame.format, width),
                               i == 0 ? geometry.buffer.mYPitch : geometry.buffer.mUVPitch,
                               sampleBytesOf(frame.format)};
        for (int y = 0; y < plane.rows(height); ++y) {
            for (int x = 0; x < target.samples; ++x) {
                put(target, x, y, valueAt(frame, plane.component, x, y));
            }
        }
    }
    return dump;
}
