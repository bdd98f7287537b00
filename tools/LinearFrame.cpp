#include "LinearFrame.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "blit/Unpack.h"

using host::LinearFormat;

namespace {

int sampleAt(const LinearFrame& frame, size_t index) {
    if (frame.format != LinearFormat::YUV420SP_10) {
        return frame.bytes[index];
    }
    uint16_t word = 0;
    memcpy(&word, &frame.bytes[index * 2], 2);
    return word >> 6;
}

void setSample(LinearFrame& frame, size_t index, double value) {
    const double top = frame.format == LinearFormat::YUV420SP_10 ? 1023 : 255;
    const long sample = std::lround(std::clamp(value, 0.0, top));
    if (frame.format == LinearFormat::YUV420SP_10) {
        const auto word = static_cast<uint16_t>(sample << 6);
        memcpy(&frame.bytes[index * 2], &word, 2);
    } else {
        frame.bytes[index] = static_cast<uint8_t>(sample);
    }
}

size_t at(int x, int y, int pitch) {
    return static_cast<size_t>(y) * static_cast<size_t>(pitch) + static_cast<size_t>(x);
}

// Returns the highest value of a sample of an RGB format.
double maxOf(LinearFormat format) { return format == LinearFormat::RGB10_A2 ? 1023 : 255; }

host::Affine scaleBy(double factor) {
    return {{{factor, 0, 0}, {0, factor, 0}, {0, 0, factor}}, {0, 0, 0}};
}

using Triple = std::array<double, 3>;

Triple transform(const host::Affine& affine, const Triple& in) {
    Triple out = {};
    for (size_t i = 0; i < 3; ++i) {
        const double* row = affine.m[i];
        out[i] = row[0] * in[0] + row[1] * in[1] + row[2] * in[2] + affine.offset[i];
    }
    return out;
}

// Colors are the pixels of a frame as R, G, B from 0 to 1.
class Colors {
  public:
    Colors(const LinearFrame& frame, const host::Profile& profile)
        : mFrame(frame),
          mToRgb(isYuv(frame.format) ? host::toRgb(profile, host::bitsOf(frame.format))
                                     : scaleBy(1 / maxOf(frame.format))) {}

    Triple at(int x, int y) const { return transform(mToRgb, samples(x, y)); }

    // Returns the mean of the four pixels from (x, y) on.
    Triple mean(int x, int y) const {
        Triple mean = {};
        for (int i = 0; i < 4; ++i) {
            const Triple color = at(x + i % 2, y + i / 2);
            for (size_t c = 0; c < 3; ++c) {
                mean[c] += color[c] / 4;
            }
        }
        return mean;
    }

    double alpha(int x, int y) const {
        const bool hasAlpha =
            mFrame.format == LinearFormat::RGBA32 || mFrame.format == LinearFormat::RGB10_A2;
        const int byte = hasAlpha ? mFrame.rgbByte(x * 4 + 3, y) : 255;
        return mFrame.format == LinearFormat::RGB10_A2 ? (byte >> 6) / 3.0 : byte / 255.0;
    }

  private:
    Triple samples(int x, int y) const {
        if (isYuv(mFrame.format)) {
            const int pair = x / 2 * 2;
            return {double(mFrame.luma(x, y)), double(mFrame.chroma(pair, y / 2)),
                    double(mFrame.chroma(pair + 1, y / 2))};
        }
        const int start = x * columnBytes(mFrame.format);
        const auto byte = [&](int i) { return mFrame.rgbByte(start + i, y); };
        if (mFrame.format == LinearFormat::RGB10_A2) {
            const int word = byte(0) | byte(1) << 8 | byte(2) << 16 | (byte(3) & 0x3F) << 24;
            return {double(word & 0x3FF), double(word >> 10 & 0x3FF), double(word >> 20)};
        }
        return {double(byte(0)), double(byte(1)), double(byte(2))};
    }

    const LinearFrame& mFrame;
    host::Affine mToRgb;
};

void fillYuv(const Colors& colors, const host::Profile& profile, LinearFrame& frame) {
    const host::Affine affine = host::fromRgb(profile, host::bitsOf(frame.format));
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            setSample(frame, at(x, y, frame.width), transform(affine, colors.at(x, y))[0]);
        }
    }
    for (int y = 0; y < frame.height / 2; ++y) {
        for (int x = 0; x + 1 < frame.width; x += 2) {
            const Triple yuv = transform(affine, colors.mean(x, y * 2));
            setSample(frame, at(x, frame.height + y, frame.width), yuv[1]);
            setSample(frame, at(x + 1, frame.height + y, frame.width), yuv[2]);
        }
    }
}

uint32_t quantize(double value, double top) {
    return static_cast<uint32_t>(std::lround(std::clamp(value, 0.0, 1.0) * top));
}

void fillRgb(const Colors& colors, LinearFrame& frame) {
    const double top = maxOf(frame.format);
    const bool deep = frame.format == LinearFormat::RGB10_A2;
    const size_t bits = deep ? 10 : 8;
    const int maxAlpha = deep ? 3 : 255;
    const auto size = static_cast<size_t>(columnBytes(frame.format));
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            const Triple color = colors.at(x, y);
            uint32_t word = quantize(colors.alpha(x, y), maxAlpha) << (3 * bits);
            for (size_t c = 0; c < 3; ++c) {
                word |= quantize(color[c], top) << c * bits;
            }
            memcpy(&frame.bytes[at(x, y, frame.width) * size], &word, size);
        }
    }
}

}  // namespace

LinearFrame::LinearFrame(LinearFormat of, int w, int h)
    : format(of), width(w), height(h), bytes(sizeOf(of, w, h)) {}

size_t LinearFrame::sizeOf(LinearFormat format, int width, int height) {
    const auto w = static_cast<size_t>(width);
    const auto h = static_cast<size_t>(height);
    return (isYuv(format) ? w * h + w * (h / 2) : w * h) * static_cast<size_t>(columnBytes(format));
}

int LinearFrame::rgbByte(int x, int y) const {
    const int size = columnBytes(format);
    const int pixel = std::min(x / size, width - 1);
    return bytes[at(pixel * size + x % size, std::min(y, height - 1), width * size)];
}

int LinearFrame::luma(int x, int y) const {
    return sampleAt(*this, at(std::min(x, width - 1), std::min(y, height - 1), width));
}

int LinearFrame::chroma(int x, int y) const {
    if (width < 2 || height < 2) {
        return 1 << (bitsOf(format) - 1);
    }
    const int pair = std::min(x / 2, width / 2 - 1);
    const int row = std::min(y, height / 2 - 1);
    return sampleAt(*this, at(pair * 2 + x % 2, height + row, width));
}

LinearFrame linearFrameOf(std::vector<uint8_t> raw, const host::Layout& layout,
                          const ColorConvert::ColorConvertBuffer& geometry) {
    LinearFrame frame(layout.format, geometry.mWidth, geometry.mHeight);
    if (layout.isUnpacked()) {
        frame.bytes = std::move(raw);
        return frame;
    }
    const size_t luma = geometry.mPlaneSize[0];
    std::copy_n(raw.begin(), luma, frame.bytes.begin());
    const auto rows = [&](int plane) {
        const size_t start = plane == 1 ? luma : luma + geometry.mPlaneSize[1];
        return host::Rows{raw.data() + start, geometry.mUVPitch};
    };
    host::mergeChroma(rows(layout.cbPlane()), rows(layout.crPlane()), frame.width / 2,
                      frame.height / 2, {frame.bytes.data() + luma, frame.width});
    return frame;
}

LinearFrame convertPicture(const LinearFrame& picture, LinearFormat format,
                           const host::Profile& profile) {
    LinearFrame frame(format, picture.width, picture.height);
    const Colors colors(picture, profile);
    if (isYuv(format)) {
        fillYuv(colors, profile, frame);
    } else {
        fillRgb(colors, frame);
    }
    return frame;
}
