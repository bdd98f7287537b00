// How the blit engine's pixel layouts lie in memory, as data: one row a layout.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace host {

// Plain forms, one byte row after the other; every layout unpacks to one of them.
// RGB888: R, G, B bytes. RGBA8888: R, G, B, A bytes. RGBA1010102: a little-endian 32-bit word a
// pixel, R in the lowest 10 bits, A in the highest 2. NV12: luma bytes, then Cb, Cr byte pairs.
// P010: the same in little-endian 16-bit words, the 10 bits at the top.
enum class Form { RGB888, RGBA8888, RGBA1010102, NV12, P010 };

// Bytes of a pixel of an RGB form, or of a sample of a YUV form.
constexpr int bytesOf(Form form) {
    constexpr int BYTES[] = {3, 4, 4, 1, 2};
    return BYTES[static_cast<int>(form)];
}
constexpr bool isYuv(Form form) { return form == Form::NV12 || form == Form::P010; }
// Bytes of what a plane counts as a sample: RGB counts bytes.
constexpr int sampleBytesOf(Form form) { return isYuv(form) ? bytesOf(form) : 1; }
constexpr int bitsOf(Form form) { return form == Form::P010 ? 10 : 8; }

// A frame is converted in strips of that many lines: whole blocks of every layout.
constexpr int STRIP_LINES = 32;

// CHROMA_PAIRS: Cb and Cr in turn. CHROMA: one of the two, of which each has a plane.
enum class Role { RGB, LUMA, CHROMA_PAIRS, CHROMA };

// How a row of samples is stored: plain rows as in the unpacked form, or blocks whose lines follow
// one another, the samples as bytes or as bits packed little-endian without gaps.
enum class Packing { ROWS, BYTE_BLOCKS, BLOCKS_10, BLOCKS_12 };

struct PlaneLayout {
    Role role;
    Packing packing;
    // Of blocks; 0 for rows. RGB counts bytes as samples.
    int blockSamples;
    int blockLines;
    int blockBytes;   // from one block to the next
    int blockOffset;  // of this plane's samples in a block

    // Samples of one row of a frame that is width pixels wide.
    int samples(Form form, int width) const {
        switch (role) {
            case Role::RGB:
                return width * bytesOf(form);
            case Role::LUMA:
            case Role::CHROMA_PAIRS:
                return width;
            case Role::CHROMA:
                return width / 2;
        }
        return 0;
    }
    int lines(int height) const {
        switch (role) {
            case Role::RGB:
            case Role::LUMA:
                return height;
            case Role::CHROMA_PAIRS:
            case Role::CHROMA:
                return height / 2;
        }
        return 0;
    }
    constexpr bool isRows() const { return packing == Packing::ROWS; }
};

constexpr int MOST_PLANES = 3;
using PlaneBytes = std::array<int64_t, MOST_PLANES>;

struct Span {
    int64_t offset;  // bytes
    int64_t size;    // bytes
};

// Where things lie in the buffer: the start of each plane's body in bytes, and the headers of
// compressed blocks.
struct Places {
    PlaneBytes bodies;
    std::array<Span, 2> headers;
};

struct Layout {
    uint32_t code;
    Form form;
    int planeCount;
    PlaneLayout planes[MOST_PLANES];
    bool crFirst;        // of a chroma pair, or of the two chroma planes
    int toldPlaneCount;  // planes that a job tells the sizes of; one for all where it is 1
    // Pitches as a job tells them, in half bytes a pixel of width: the least for rows, exact for
    // blocks.
    int yPitch;
    int uvPitch;
    // sizes: bytes of the planes as told.
    Places (*places)(int64_t width, int64_t height, const uint32_t* sizes);
    const char* compressed;  // name of a format that the device compresses; null for others

    // True for the layout that is its form, which alone can be written.
    bool isPlainForm() const {
        return planes[0].isRows() && planes[1].role != Role::CHROMA && !crFirst;
    }
};

// Null for a code that the engine doesn't know.
const Layout* findLayout(uint32_t code);

}  // namespace host
