#include "Layout.h"

namespace host {

namespace {

constexpr int64_t alignUp(int64_t value, int64_t step) { return (value + step - 1) / step * step; }

Offsets backToBack(int64_t /*width*/, int64_t /*height*/, const uint32_t* sizes) {
    return {{0, sizes[0], int64_t{sizes[0]} + sizes[1]}, {}};
}

// AFBC has the headers of all superblocks, then the superblocks, each with its samples of all
// planes.
Offsets afbc(int64_t headerBytes, int64_t step) {
    const int64_t start = alignUp(headerBytes, step);
    return {{start, start, start}, {{{0, headerBytes}, {}}}};
}

Offsets afbcRgb(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return afbc(width * height / 16, 1024);
}

Offsets afbcYuv(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return afbc(16 * (width / 16) * (height / 16), 256);
}

// CPQ has luma, chroma, luma headers and chroma headers, in this order.
Offsets cpq(int64_t area, int64_t lumaBytes, int64_t chromaBytes) {
    const int64_t chroma = alignUp(lumaBytes, 4096);
    const int64_t lumaHeader = alignUp(area / 256 + 128, 64);
    const int64_t chromaHeader = alignUp(lumaHeader / 2 + 112, 32);
    return {{0, chroma, 0},
            {{{chroma + alignUp(chromaBytes, 512), lumaHeader + chromaHeader}, {}}}};
}

Offsets cpq8(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return cpq(width * height, width * height, width * height / 2);
}

Offsets cpq10(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    const int64_t area = width * height;
    return cpq(area, 10 * area / 8, 10 * (area / 2) / 8);
}

// Lumo has luma headers, luma, chroma headers and chroma, in this order. Luma and chroma start at
// multiples of 4096 bytes.
Offsets lumo(int64_t area, int64_t lumaBytes) {
    const int64_t luma = alignUp(area / 64, 4096);
    const int64_t chroma = alignUp(luma + lumaBytes + alignUp(area / 128, 64), 4096);
    return {{luma, chroma, 0},
            {{{luma - alignUp(area / 64, 64), area / 64},
              {chroma - alignUp(area / 128, 64), area / 128}}}};
}

Offsets lumo8(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return lumo(width * height, width * height);
}

Offsets lumo12(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return lumo(width * height, 6 * width * height / 4);
}

constexpr PlaneLayout NONE = {Component::NONE, Packing::LINEAR};
constexpr PlaneLayout RGB = {Component::RGB, Packing::LINEAR};
constexpr PlaneLayout LUMA = {Component::LUMA, Packing::LINEAR};
constexpr PlaneLayout CBCR = {Component::CBCR, Packing::LINEAR};
constexpr PlaneLayout CB = {Component::CB, Packing::LINEAR};
constexpr PlaneLayout CR = {Component::CR, Packing::LINEAR};

// The chip's blocks have 16 samples x 32 lines of luma, or 16 samples x 16 lines of chroma.
constexpr PlaneLayout BLK_LUMA = {Component::LUMA, Packing::BLOCKS_8, 16, 32, 512};
constexpr PlaneLayout BLK_CBCR = {Component::CBCR, Packing::BLOCKS_8, 16, 16, 256};
constexpr PlaneLayout BLK10_LUMA = {Component::LUMA, Packing::BLOCKS_10, 16, 32, 640};
constexpr PlaneLayout BLK10_CBCR = {Component::CBCR, Packing::BLOCKS_10, 16, 16, 320};

// AFBC has superblocks of 16 x 16 pixels. Those of 10 bits end with 32 unused bytes.
constexpr PlaneLayout AFBC_RGB = {Component::RGB, Packing::BLOCKS_8, 64, 16, 1024};
constexpr PlaneLayout AFBC_LUMA = {Component::LUMA, Packing::BLOCKS_8, 16, 16, 384};
constexpr PlaneLayout AFBC_CBCR = {Component::CBCR, Packing::BLOCKS_8, 16, 8, 384, 256};
constexpr PlaneLayout AFBC10_LUMA = {Component::LUMA, Packing::BLOCKS_10, 16, 16, 512};
constexpr PlaneLayout AFBC10_CBCR = {Component::CBCR, Packing::BLOCKS_10, 16, 8, 512, 320};

// Lumo has blocks of 64 samples.
constexpr PlaneLayout LUMO_LUMA = {Component::LUMA, Packing::BLOCKS_8, 8, 8, 64};
constexpr PlaneLayout LUMO_CBCR = {Component::CBCR, Packing::BLOCKS_8, 16, 4, 64};
constexpr PlaneLayout LUMO12_LUMA = {Component::LUMA, Packing::BLOCKS_12, 8, 8, 96};
constexpr PlaneLayout LUMO12_CBCR = {Component::CBCR, Packing::BLOCKS_12, 16, 4, 96};

// clang-format off
constexpr Layout LAYOUTS[] = {
    // code       format                     planes                              sizes pitches offsets   compressedName
    {0x00201821, LinearFormat::RGB24,       1, {RGB, NONE, NONE},                   1,   6,  0,  backToBack, nullptr},  // RGB888
    {0x00202022, LinearFormat::RGBA32,      1, {RGB, NONE, NONE},                   1,   8,  0,  backToBack, nullptr},  // RGBA8888
    {0x10202022, LinearFormat::RGB10_A2,    1, {RGB, NONE, NONE},                   1,   8,  0,  backToBack, nullptr},  // RGBA1010102
    {0x20202022, LinearFormat::RGBA32,      1, {AFBC_RGB, NONE, NONE},              1,   8,  0,  afbcRgb,    "RGBA8888_AFBC"},
    {0x30202022, LinearFormat::RGB10_A2,    1, {AFBC_RGB, NONE, NONE},              1,   8,  0,  afbcRgb,    "RGBA1010102_AFBC"},
    {0x004C084C, LinearFormat::YUV420SP_8,  2, {LUMA, CBCR, NONE},                  2,   2,  2,  backToBack, nullptr},  // NV12
    {0x084C104C, LinearFormat::YUV420SP_10, 2, {LUMA, CBCR, NONE},                  2,   4,  4,  backToBack, nullptr},  // P010
    {0x006C0868, LinearFormat::YUV420SP_8,  3, {LUMA, CR, CB},                      3,   2,  1,  backToBack, nullptr},  // YV12
    {0x006C0848, LinearFormat::YUV420SP_8,  3, {LUMA, CB, CR},                      3,   2,  1,  backToBack, nullptr},  // YUV420P
    {0x202C0C4C, LinearFormat::YUV420SP_8,  2, {AFBC_LUMA, AFBC_CBCR, NONE},        1,   3,  3,  afbcYuv,    "YUV420P_AFBC"},
    {0x302C104C, LinearFormat::YUV420SP_10, 2, {AFBC10_LUMA, AFBC10_CBCR, NONE},    1,   4,  4,  afbcYuv,    "YUV420P_10BIT_AFBC"},
    {0x00CD004C, LinearFormat::YUV420SP_8,  2, {BLK_LUMA, BLK_CBCR, NONE},          2,  64, 32,  backToBack, nullptr},  // NV12_BLK
    {0x18CD404C, LinearFormat::YUV420SP_10, 2, {BLK10_LUMA, BLK10_CBCR, NONE},      2,  80, 40,  backToBack, nullptr},  // NV12_BLK_10BIT_V
    {0x02CD004C, LinearFormat::YUV420SP_8,  2, {BLK_LUMA, BLK_CBCR, NONE},          2,  64, 32,  cpq8,       "CPQ"},
    {0x1ACD404C, LinearFormat::YUV420SP_10, 2, {BLK10_LUMA, BLK10_CBCR, NONE},      2,  80, 40,  cpq10,      "CPQ_10BIT_V"},
    {0x402C0C4C, LinearFormat::YUV420SP_8,  2, {LUMO_LUMA, LUMO_CBCR, NONE},        1,  24,  0,  lumo8,      "NV12_Lumo"},
    {0x502C124C, LinearFormat::YUV420SP_10, 2, {LUMO12_LUMA, LUMO12_CBCR, NONE},    1,  36,  0,  lumo12,     "P010_Lumo"},
};
// clang-format on

constexpr bool canUnpack(const PlaneLayout& plane, LinearFormat format) {
    const bool bytes = sampleBytesOf(format) == 1;
    const bool deep = format == LinearFormat::YUV420SP_10;
    const int width = plane.blockWidth;
    if (plane.isCbOrCr()) {
        return bytes && plane.isLinear();
    }
    switch (plane.packing) {
        case Packing::LINEAR:
            return true;
        case Packing::BLOCKS_8:
            return bytes && (width == 8 || width == 16 || width == 64);
        case Packing::BLOCKS_10:
            return deep && width == 16;
        case Packing::BLOCKS_12:
            return deep && (width == 8 || width == 16);
    }
    return false;
}

constexpr bool canUnpackAll() {
    for (const Layout& layout : LAYOUTS) {
        if (layout.isPlanar() && (layout.planes[layout.cbPlane()].component != Component::CB ||
                                  layout.planes[layout.crPlane()].component != Component::CR)) {
            return false;
        }
        for (const PlaneLayout& plane : layout.planes) {
            if (!canUnpack(plane, layout.format) || STRIP_LINES % plane.blockHeight != 0) {
                return false;
            }
        }
    }
    return true;
}
static_assert(canUnpackAll(), "Unpack.cpp cannot unpack a layout of the table");

constexpr bool allBlocksHoldTheirSamples() {
    for (const Layout& layout : LAYOUTS) {
        for (const PlaneLayout& plane : layout.planes) {
            const int bits = plane.blockWidth * plane.blockHeight * bitsOf(plane.packing);
            if (plane.blockOffset * 8 + bits > plane.blockBytes * 8) {
                return false;
            }
        }
    }
    return true;
}
static_assert(allBlocksHoldTheirSamples(), "a block of the table has fewer bytes than samples");

}  // namespace

const Layout* findLayout(uint32_t code) {
    for (const Layout& layout : LAYOUTS) {
        if (layout.code == code) {
            return &layout;
        }
    }
    return nullptr;
}

}  // namespace host
