// A table has the pixel layouts that the blit engine knows, with a row for each color code.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace host {

// The engine's linear pixel formats have rows of samples from top to bottom. Every layout unpacks
// to one of them.
enum class LinearFormat {
    RGB24,        // R, G, B bytes
    RGBA32,       // R, G, B, A bytes
    RGB10_A2,     // little-endian 32-bit words: R in the lowest 10 bits, A in the highest 2
    YUV420SP_8,   // a plane of luma bytes, then a plane of Cb, Cr byte pairs
    YUV420SP_10,  // the same in little-endian 16-bit words; a sample is the highest 10 bits
};

// Returns the bytes that each pixel of the width takes in a row of the format. In an RGB format
// these are the bytes of a pixel. In a YUV format they are those of a sample, because a row of
// chroma has two samples for two pixels.
constexpr int columnBytes(LinearFormat format) {
    constexpr int BYTES[] = {3, 4, 4, 1, 2};
    return BYTES[static_cast<int>(format)];
}
constexpr bool isYuv(LinearFormat format) {
    return format == LinearFormat::YUV420SP_8 || format == LinearFormat::YUV420SP_10;
}
// Returns the bytes of a sample in a plane. In a plane of RGB each byte of a pixel counts as a
// sample.
constexpr int sampleBytesOf(LinearFormat format) { return isYuv(format) ? columnBytes(format) : 1; }
constexpr int bitsOf(LinearFormat format) { return format == LinearFormat::YUV420SP_10 ? 10 : 8; }

// The engine converts a frame in strips of this many lines. It is a multiple of the block height of
// every layout.
constexpr int STRIP_LINES = 32;

// A Component says what the samples of a plane are. NONE means that the layout has no such plane.
// In CBCR, Cb and Cr alternate. CB and CR come as a pair of planes.
enum class Component { NONE, RGB, LUMA, CBCR, CB, CR };

// A Packing says how the samples of a plane are stored: in rows, each sample as in the linear
// format, or in blocks, line by line. A sample in a block has 8, 10 or 12 bits, packed
// little-endian without gaps.
enum class Packing { LINEAR, BLOCKS_8, BLOCKS_10, BLOCKS_12 };

// Returns the bits of a sample in a block.
constexpr int bitsOf(Packing packing) {
    constexpr int BITS[] = {0, 8, 10, 12};
    return BITS[static_cast<int>(packing)];
}

struct PlaneLayout {
    Component component;
    Packing packing;
    // These describe a block. A linear plane has only the height, which is one line.
    int blockWidth = 0;   // samples
    int blockHeight = 1;  // lines
    int blockBytes = 0;   // from the start of a block to the start of the next
    int blockOffset = 0;  // bytes from the start of a block to the samples of this plane

    // Returns the samples in a row of the plane if the frame is width pixels wide.
    int samplesPerRow(LinearFormat format, int width) const {
        switch (component) {
            case Component::NONE:
                return 0;
            case Component::RGB:
                return width * columnBytes(format);
            case Component::LUMA:
            case Component::CBCR:
                return width;
            case Component::CB:
            case Component::CR:
                return width / 2;
        }
        return 0;
    }
    // Returns the rows of the plane in a frame of height lines.
    int rows(int height) const {
        switch (component) {
            case Component::NONE:
                return 0;
            case Component::RGB:
            case Component::LUMA:
                return height;
            case Component::CBCR:
            case Component::CB:
            case Component::CR:
                return height / 2;
        }
        return 0;
    }
    constexpr bool isLinear() const { return packing == Packing::LINEAR; }
    constexpr bool isCbOrCr() const {
        return component == Component::CB || component == Component::CR;
    }
    // Returns true if the plane is stored exactly as a plane of the linear format.
    constexpr bool isUnpacked() const {
        return isLinear() && (component == Component::RGB || component == Component::LUMA ||
                              component == Component::CBCR);
    }
};

constexpr int MAX_PLANES = 3;
using PerPlane = std::array<int64_t, MAX_PLANES>;

struct Span {
    int64_t offset;  // bytes
    int64_t size;    // bytes
};

// Offsets say where a buffer holds the planes of a frame and the headers of its compressed blocks.
struct Offsets {
    PerPlane planes;  // bytes
    std::array<Span, 2> headers;
};

struct Layout {
    uint32_t code;
    LinearFormat format;  // which the layout unpacks to
    int planeCount;
    PlaneLayout planes[MAX_PLANES];
    int sizeCount;  // plane sizes that a job passes; 1: one size for all planes together
    // A job passes pitches. These are the bytes of a pitch for two pixels of the width: the minimum
    // for linear planes, the exact value for blocks.
    int yPitchOfTwoPixels;
    int uvPitchOfTwoPixels;
    // sizes has the bytes of each plane, as the job passes them.
    Offsets (*offsets)(int64_t width, int64_t height, const uint32_t* sizes);
    const char* compressedName;  // name of a format that the device compresses; null for others

    // Returns true if a frame is stored exactly as in the linear format. Only such layouts can be
    // destinations.
    bool isUnpacked() const {
        return std::all_of(planes, planes + planeCount,
                           [](const PlaneLayout& plane) { return plane.isUnpacked(); });
    }
    // Returns true if Cb and Cr have a plane each. The next two functions return their numbers.
    constexpr bool isPlanar() const { return planes[1].isCbOrCr(); }
    constexpr int cbPlane() const { return planes[1].component == Component::CB ? 1 : 2; }
    constexpr int crPlane() const { return 3 - cbPlane(); }
};

// Returns null if the engine doesn't know the code.
const Layout* findLayout(uint32_t code);

}  // namespace host
