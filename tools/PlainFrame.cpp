#include "PlainFrame.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "blit/ColorMatrix.h"

using host::Form;

namespace {

int sampleAt(const PlainFrame& frame, size_t index) {
    if (frame.form != Form::P010) {
        return frame.bytes[index];
    }
    uint16_t word = 0;
    memcpy(&word, &frame.bytes[index * 2], 2);
    return word >> 6;
}

void setSample(PlainFrame& frame, size_t index, double value) {
    const double top = frame.form == Form::P010 ? 1023 : 255;
    const long sample = std::lround(std::clamp(value, 0.0, top));
    if (frame.form == Form::P010) {
        const auto word = static_cast<uint16_t>(sample << 6);
        memcpy(&frame.bytes[index * 2], &word, 2);
    } else {
        frame.bytes[index] = static_cast<uint8_t>(sample);
    }
}

size_t at(int x, int y, int pitch) {
    return static_cast<size_t>(y) * static_cast<size_t>(pitch) + static_cast<size_t>(x);
}

// Mean color, 0 to 1, of size x size pixels from (x, y) on.
void meanColor(const PlainFrame& rgba, int x, int y, int size, double color[3]) {
    for (int c = 0; c < 3; ++c) {
        color[c] = 0;
        for (int i = 0; i < size * size; ++i) {
            color[c] += rgba.rgbByte((x + i % size) * 4 + c, y + i / size) / 255.0;
        }
        color[c] /= size * size;
    }
}

double apply(const host::Affine& affine, int row, const double color[3]) {
    return affine.m[row][0] * color[0] + affine.m[row][1] * color[1] + affine.m[row][2] * color[2] +
           affine.offset[row];
}

void fillYuv(const PlainFrame& rgba, uint32_t profile, PlainFrame& frame) {
    const host::Affine affine = host::fromRgb(profile, host::bitsOf(frame.form));
    double color[3] = {};
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            meanColor(rgba, x, y, 1, color);
            setSample(frame, at(x, y, frame.width), apply(affine, 0, color));
        }
    }
    for (int y = 0; y < frame.height / 2; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            meanColor(rgba, x / 2 * 2, y * 2, 2, color);
            setSample(frame, at(x, frame.height + y, frame.width), apply(affine, 1 + x % 2, color));
        }
    }
}

void fillRgb(const PlainFrame& rgba, PlainFrame& frame) {
    for (size_t i = 0; i < rgba.bytes.size() / 4; ++i) {
        const uint8_t* from = &rgba.bytes[i * 4];
        if (frame.form == Form::RGBA1010102) {
            const auto ten = [](uint32_t value) { return (value * 1023 + 127) / 255; };
            const uint32_t word = ten(from[0]) | ten(from[1]) << 10 | ten(from[2]) << 20 |
                                  (from[3] * 3U + 127) / 255 << 30;
            memcpy(&frame.bytes[i * 4], &word, 4);
        } else {
            const auto size = static_cast<size_t>(bytesOf(frame.form));
            memcpy(&frame.bytes[i * size], from, size);
        }
    }
}

}  // namespace

PlainFrame::PlainFrame(Form form, int width, int height)
    : form(form), width(width), height(height), bytes(sizeOf(form, width, height)) {}

size_t PlainFrame::sizeOf(Form form, int width, int height) {
    const auto w = static_cast<size_t>(width);
    const auto h = static_cast<size_t>(height);
    return (isYuv(form) ? w * h + w * (h / 2) : w * h) * static_cast<size_t>(bytesOf(form));
}

int PlainFrame::rgbByte(int x, int y) const {
    const int size = bytesOf(form);
    const int pixel = std::min(x / size, width - 1);
    return bytes[at(pixel * size + x % size, std::min(y, height - 1), width * size)];
}

int PlainFrame::luma(int x, int y) const {
    return sampleAt(*this, at(std::min(x, width - 1), std::min(y, height - 1), width));
}

int PlainFrame::chroma(int x, int y) const {
    if (width < 2 || height < 2) {
        return 1 << (bitsOf(form) - 1);
    }
    const int pair = std::min(x / 2, width / 2 - 1);
    const int row = std::min(y, height / 2 - 1);
    return sampleAt(*this, at(pair * 2 + x % 2, height + row, width));
}

PlainFrame convertPicture(const PlainFrame& rgba, Form form, uint32_t profile) {
    PlainFrame frame(form, rgba.width, rgba.height);
    if (isYuv(form)) {
        fillYuv(rgba, profile, frame);
    } else {
        fillRgb(rgba, frame);
    }
    return frame;
}
