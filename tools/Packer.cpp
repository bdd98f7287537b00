#include "Packer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "blit/ColorMatrix.h"
#include "color/Catalogue.h"

using host::LinearFormat;

namespace {

size_t channelsOf(LinearFormat format) {
    return format == LinearFormat::RGBA32 || format == LinearFormat::RGB10_A2 ? 4 : 3;
}

// Returns the bits of a sample.
int depthOf(LinearFormat format, size_t channel) {
    const bool isDeep = format == LinearFormat::RGB10_A2 || format == LinearFormat::YUV420SP_10;
    return !isDeep ? 8 : channel < 3 ? 10 : 2;
}

// Returns the highest value of a sample.
double topOf(LinearFormat format, size_t channel) { return (1 << depthOf(format, channel)) - 1; }

// Returns how many columns, and lines, share a sample.
int stepOf(LinearFormat format, size_t channel) { return isYuv(format) && channel > 0 ? 2 : 1; }

// Returns the plane that stores the channel.
size_t planeOf(const host::Layout& layout, size_t channel) {
    if (stepOf(layout.format, channel) == 1) {
        return 0;
    }
    const int planar = channel == 1 ? layout.cbPlane() : layout.crPlane();
    return static_cast<size_t>(layout.isPlanar() ? planar : 1);
}

// Returns the place of the lowest bit of a pixel's sample.
int64_t firstBitOf(const FrameGeometry& frame, size_t channel, int x, int y) {
    const host::Layout& layout = frame.layout;
    const size_t i = planeOf(layout, channel);
    const host::PlaneLayout& plane = layout.planes[i];
    const int step = stepOf(layout.format, channel);
    const bool isCrOfPair = plane.component == host::Component::CBCR && channel == 2;
    int sample = plane.samplesPerRow(layout.format, x / step * step) + (isCrOfPair ? 1 : 0);
    int64_t start = frame.offsets.planes[i] + plane.blockOffset + frame.bytesOf(i, y);
    int bits = sampleBytesOf(layout.format) * 8;
    if (!plane.isLinear()) {
        start += int64_t{sample} / plane.blockWidth * plane.blockBytes;
        sample = plane.rows(y) % plane.blockHeight * plane.blockWidth + sample % plane.blockWidth;
        bits = host::bitsOf(plane.packing);
    }
    // 10 bits of YUV are the highest of 12 or 16. The channels of RGB follow each other.
    const int shift = isYuv(layout.format) ? std::max(0, bits - 10)
                                           : static_cast<int>(channel) * depthOf(layout.format, 0);
    return start * 8 + int64_t{sample} * bits + shift;
}

unsigned readBits(const std::vector<uint8_t>& bytes, int64_t bit, int count) {
    unsigned value = 0;
    for (int i = 0; i < bit % 8 + count; i += 8) {
        value |= static_cast<unsigned>(bytes[static_cast<size_t>((bit + i) / 8)]) << i;
    }
    return value >> bit % 8 & ((1U << count) - 1);
}

void writeBits(std::vector<uint8_t>& bytes, int64_t bit, unsigned value) {
    value <<= bit % 8;
    for (auto byte = bytes.begin() + bit / 8; value != 0; value >>= 8) {
        *byte++ |= static_cast<uint8_t>(value);
    }
}

// Transforms three channels, and keeps the last.
Pixel transform(const host::Affine& affine, const Pixel& in) {
    Pixel out = in;
    for (size_t i = 0; i < 3; ++i) {
        const double* row = affine.m[i];
        out[i] = row[0] * in[0] + row[1] * in[1] + row[2] * in[2] + affine.offset[i];
    }
    return out;
}

host::Affine scaleBy(double factor) {
    return {{{factor, 0, 0}, {0, factor, 0}, {0, 0, factor}}, {0, 0, 0}};
}

// Returns the picture in another format. It refers to the given one, which must outlive it. Only
// pixels of even columns and lines get chroma, because no other is used.
Picture convert(const Picture& from, LinearFormat format, const host::Profile& profile) {
    const auto toRgb = isYuv(from.format) ? host::toRgb(profile, depthOf(from.format, 0))
                                          : scaleBy(1 / topOf(from.format, 0));
    const auto fromRgb =
        isYuv(format) ? host::fromRgb(profile, depthOf(format, 0)) : scaleBy(topOf(format, 0));
    // Returns the mean color of step x step pixels from (x, y) on, or of the last ones, as R, G, B
    // and A from 0 to 1. It is black, which has neutral chroma, if the picture has fewer pixels.
    const auto colorAt = [&from, toRgb](int x, int y, int step) {
        const int column = std::min(x, from.width / step * step - step);
        const int row = std::min(y, from.height / step * step - step);
        Pixel mean = {};
        for (int i = 0; i < step * step && column >= 0 && row >= 0; ++i) {
            Pixel color = transform(toRgb, from.pixelAt(column + i % step, row + i / step));
            color[3] = channelsOf(from.format) == 4 ? color[3] / topOf(from.format, 3) : 1;
            for (size_t c = 0; c < color.size(); ++c) {
                mean[c] += color[c] / (step * step);
            }
        }
        return mean;
    };
    return {format, from.width, from.height, [=](int x, int y) {
                Pixel pixel = transform(fromRgb, colorAt(x, y, 1));
                pixel[3] *= topOf(format, 3);
                if (isYuv(format) && x % 2 == 0 && y % 2 == 0) {
                    const Pixel mean = transform(fromRgb, colorAt(x, y, 2));
                    pixel = {pixel[0], mean[1], mean[2]};
                }
                return pixel;
            }};
}

}  // namespace

Picture unpackFrame(std::vector<uint8_t> bytes, const FrameGeometry& raw) {
    const LinearFormat format = raw.layout.format;
    const int width = raw.buffer.mWidth;
    const int height = raw.buffer.mHeight;
    return {format, width, height, [=, bytes = std::move(bytes)](int x, int y) {
                Pixel pixel = {};
                for (size_t i = 0; i < channelsOf(format); ++i) {
                    const int step = stepOf(format, i);
                    const int bits = depthOf(format, i);
                    // These are negative if the frame is too small to have such samples.
                    const int column = std::min(x, width / step * step - 1);
                    const int row = std::min(y, height / step * step - 1);
                    pixel[i] = column < 0 || row < 0
                                   ? 1U << (bits - 1)
                                   : readBits(bytes, firstBitOf(raw, i, column, row), bits);
                }
                return pixel;
            }};
}

std::vector<uint8_t> packFrame(const Picture& picture, const FrameGeometry& dump,
                               ColorConvert::ColorSpace space) {
    const LinearFormat format = dump.layout.format;
    const uint32_t profile = colorSpaceInfos[static_cast<size_t>(space)].pxProfile;
    const Picture converted =
        picture.format == format ? picture : convert(picture, format, *host::findProfile(profile));
    std::vector<uint8_t> bytes(static_cast<size_t>(dump.size));
    for (int y = 0; y < dump.buffer.mHeight; ++y) {
        for (int x = 0; x < dump.buffer.mWidth; ++x) {
            const Pixel pixel = converted.pixelAt(x, y);
            for (size_t i = 0; i < channelsOf(format); ++i) {
                const int step = stepOf(format, i);
                if (x % step == 0 && y % step == 0) {
                    const double sample = std::clamp(pixel[i], 0.0, topOf(format, i));
                    writeBits(bytes, firstBitOf(dump, i, x, y),
                              static_cast<unsigned>(std::lround(sample)));
                }
            }
        }
    }
    return bytes;
}
