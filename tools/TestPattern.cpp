#include "TestPattern.h"

#include <algorithm>
#include <string>

namespace {

constexpr Pixel BARS[] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                          {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
constexpr Pixel WHITE = {255, 255, 255};
constexpr Pixel BLACK = {0, 0, 0};
constexpr Pixel ORANGE = {255, 128, 0};

// A digit has 3 x 5 cells, with a bit for each cell. The highest bit is the top left cell.
constexpr int DIGITS[] = {0x7B6F, 0x2C97, 0x73E7, 0x73CF, 0x5BC9,
                          0x79CF, 0x79EF, 0x7249, 0x7BEF, 0x7BCF};

// Returns true if the pixel belongs to one of the digits, whose cells have this size in pixels.
bool isDigit(int x, int y, int cell, const std::string& digits) {
    const int row = y / cell;
    const auto column = static_cast<size_t>(x / cell);
    if (x < 0 || y < 0 || row > 4 || column >= digits.size() * 4 || column % 4 == 3) {
        return false;
    }
    const int cells = DIGITS[digits[column / 4] - '0'];
    return (cells >> (14 - row * 3 - static_cast<int>(column % 4)) & 1) != 0;
}

Pixel colorAt(int x, int y, int width, int height, const std::string& digits) {
    if (x == 0 || y == 0 || x == width - 1 || y == height - 1) {
        return WHITE;
    }
    const int cell = std::max(1, height / 30);
    if (isDigit(x - width / 16, y - height / 10, cell, digits)) {
        return ORANGE;
    }
    const int64_t scaled = int64_t{x} * 8 / width;
    if (y < height / 2) {
        return BARS[scaled];
    }
    if (y < height * 3 / 4) {
        const int64_t level = int64_t{x} * 256 / width;
        const auto gray = static_cast<double>(level);
        return {gray, gray, gray};
    }
    // These are lines of 1, 2, 4 and 8 pixels: vertical ones, then horizontal ones.
    const int size = 1 << (scaled % 4);
    return ((scaled < 4 ? x : y) / size) % 2 == 0 ? WHITE : BLACK;
}

}  // namespace

Picture testPattern(int width, int height, int number) {
    const std::string digits = std::to_string(number);
    return {host::LinearFormat::RGB24, width, height, [=](int x, int y) {
                return colorAt(std::min(x, width - 1), std::min(y, height - 1), width, height,
                               digits);
            }};
}
