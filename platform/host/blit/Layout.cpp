#include "Layout.h"

namespace host {

namespace {

constexpr int64_t alignUp(int64_t value, int64_t step) { return (value + step - 1) / step * step; }

Offsets backToBack(int64_t /*width*/, int64_t /*height*/, const uint32_t* sizes) {
    return {{0, sizes[0], int64_t{sizes[0]} + sizes[1]}, {}};
}

// AFBC: the headers of all superblocks, then the superblocks, which hold all planes.
Offsets afbc(int64_t headers, int64_t step) {
    const int64_t start = alignUp(headers, step);
    return {{start, start, start}, {{{0, headers}, {}}}};
}

Offsets afbcRgb(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return afbc(width * height / 16, 1024);
}

Offsets afbcYuv(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return afbc(height / 16 * (width / 16 * 16), 256);
}

// CPQ: luma, chroma, luma headers, chroma headers.
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

// Lumo: luma headers, luma, chroma headers, chroma. Luma and chroma start on a page of 4096 bytes.
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

constexpr PlaneLayout linear(Component component) {
    return {component, Packing::LINEAR, 0, 0, 0, 0};
}

constexpr PlaneLayout blocks(Component component, Packing packing, int width, int height, int bytes,
                             int offset = 0) {
    return {component, packing, width, height, bytes, offset};
}

constexpr PlaneLayout NONE = linear(Component::RGB);
constexpr PlaneLayout RGB = linear(Component::RGB);
constexpr PlaneLayout LUMA = linear(Component::LUMA);
constexpr PlaneLayout CBCR = linear(Component::CBCR);
constexpr PlaneLayout CHROMA = linear(Component::CHROMA);

// swappedChroma
constexpr bool CB_CR = false;
constexpr bool CR_CB = true;

// The chip's blocks: 16 samples x 32 lines of luma, 16 samples x 16 lines of chroma.
constexpr PlaneLayout BLK_LUMA = blocks(Component::LUMA, Packing::BLOCKS_8, 16, 32, 512);
constexpr PlaneLayout BLK_CBCR = blocks(Component::CBCR, Packing::BLOCKS_8, 16, 16, 256);
constexpr PlaneLayout BLK10_LUMA = blocks(Component::LUMA, Packing::BLOCKS_10, 16, 32, 640);
constexpr PlaneLayout BLK10_CBCR = blocks(Component::CBCR, Packing::BLOCKS_10, 16, 16, 320);

// AFBC superblocks of 16 x 16 pixels; the 10-bit ones end with 32 unused bytes.
constexpr PlaneLayout AFBC_RGB = blocks(Component::RGB, Packing::BLOCKS_8, 64, 16, 1024);
constexpr PlaneLayout AFBC_LUMA = blocks(Component::LUMA, Packing::BLOCKS_8, 16, 16, 384);
constexpr PlaneLayout AFBC_CBCR = blocks(Component::CBCR, Packing::BLOCKS_8, 16, 8, 384, 256);
constexpr PlaneLayout AFBC10_LUMA = blocks(Component::LUMA, Packing::BLOCKS_10, 16, 16, 512);
constexpr PlaneLayout AFBC10_CBCR = blocks(Component::CBCR, Packing::BLOCKS_10, 16, 8, 512, 320);

// Lumo blocks of 64 samples.
constexpr PlaneLayout LUMO_LUMA = blocks(Component::LUMA, Packing::BLOCKS_8, 8, 8, 64);
constexpr PlaneLayout LUMO_CBCR = blocks(Component::CBCR, Packing::BLOCKS_8, 16, 4, 64);
constexpr PlaneLayout LUMO12_LUMA = blocks(Component::LUMA, Packing::BLOCKS_12, 8, 8, 96);
constexpr PlaneLayout LUMO12_CBCR = blocks(Component::CBCR, Packing::BLOCKS_12, 16, 4, 96);

// clang-format off
constexpr Layout LAYOUTS[] = {
    // code       format                     planes                              chroma sizes pitches offsets   compressed
    {0x00201821, LinearFormat::RGB24,       1, {RGB, NONE, NONE},                   CB_CR, 1,   6,  0,  backToBack, nullptr},  // RGB888
    {0x00202022, LinearFormat::RGBA32,      1, {RGB, NONE, NONE},                   CB_CR, 1,   8,  0,  backToBack, nullptr},  // RGBA8888
    {0x10202022, LinearFormat::RGB10_A2,    1, {RGB, NONE, NONE},                   CB_CR, 1,   8,  0,  backToBack, nullptr},  // RGBA1010102
    {0x20202022, LinearFormat::RGBA32,      1, {AFBC_RGB, NONE, NONE},              CB_CR, 1,   8,  0,  afbcRgb,    "RGBA8888_AFBC"},
    {0x30202022, LinearFormat::RGB10_A2,    1, {AFBC_RGB, NONE, NONE},              CB_CR, 1,   8,  0,  afbcRgb,    "RGBA1010102_AFBC"},
    {0x004C084C, LinearFormat::YUV420SP_8,  2, {LUMA, CBCR, NONE},                  CB_CR, 2,   2,  2,  backToBack, nullptr},  // NV12
    {0x084C104C, LinearFormat::YUV420SP_10, 2, {LUMA, CBCR, NONE},                  CB_CR, 2,   4,  4,  backToBack, nullptr},  // P010
    {0x006C0868, LinearFormat::YUV420SP_8,  3, {LUMA, CHROMA, CHROMA},              CR_CB, 3,   2,  1,  backToBack, nullptr},  // YV12
    {0x006C0848, LinearFormat::YUV420SP_8,  3, {LUMA, CHROMA, CHROMA},              CB_CR, 3,   2,  1,  backToBack, nullptr},  // YUV420P
    {0x202C0C4C, LinearFormat::YUV420SP_8,  2, {AFBC_LUMA, AFBC_CBCR, NONE},        CB_CR, 1,   3,  3,  afbcYuv,    "YUV420P_AFBC"},
    {0x302C104C, LinearFormat::YUV420SP_10, 2, {AFBC10_LUMA, AFBC10_CBCR, NONE},    CB_CR, 1,   4,  4,  afbcYuv,    "YUV420P_10BIT_AFBC"},
    {0x00CD004C, LinearFormat::YUV420SP_8,  2, {BLK_LUMA, BLK_CBCR, NONE},          CB_CR, 2,  64, 32,  backToBack, nullptr},  // NV12_BLK
    {0x18CD404C, LinearFormat::YUV420SP_10, 2, {BLK10_LUMA, BLK10_CBCR, NONE},      CB_CR, 2,  80, 40,  backToBack, nullptr},  // NV12_BLK_10BIT_V
    {0x02CD004C, LinearFormat::YUV420SP_8,  2, {BLK_LUMA, BLK_CBCR, NONE},          CB_CR, 2,  64, 32,  cpq8,       "CPQ"},
    {0x1ACD404C, LinearFormat::YUV420SP_10, 2, {BLK10_LUMA, BLK10_CBCR, NONE},      CB_CR, 2,  80, 40,  cpq10,      "CPQ_10BIT_V"},
    {0x402C0C4C, LinearFormat::YUV420SP_8,  2, {LUMO_LUMA, LUMO_CBCR, NONE},        CB_CR, 1,  24,  0,  lumo8,      "NV12_Lumo"},
    {0x502C124C, LinearFormat::YUV420SP_10, 2, {LUMO12_LUMA, LUMO12_CBCR, NONE},    CB_CR, 1,  36,  0,  lumo12,     "P010_Lumo"},
};
// clang-format on

constexpr bool canUnpack(const PlaneLayout& plane, LinearFormat format) {
    const bool deep = format == LinearFormat::YUV420SP_10;
    const int width = plane.blockWidth;
    switch (plane.packing) {
        case Packing::LINEAR:
            return plane.component != Component::CHROMA || format == LinearFormat::YUV420SP_8;
        case Packing::BLOCKS_8:
            return !deep && (width == 8 || width == 16 || width == 64);
        case Packing::BLOCKS_10:
            return deep && width == 16;
        case Packing::BLOCKS_12:
            return deep && (width == 8 || width == 16);
    }
    return false;
}

constexpr bool canUnpackAll() {
    for (const Layout& layout : LAYOUTS) {
        // Only separate planes of Cb and Cr can come in either order.
        if (layout.swappedChroma && layout.planes[1].component != Component::CHROMA) {
            return false;
        }
        for (const PlaneLayout& plane : layout.planes) {
            if (!canUnpack(plane, layout.format) ||
                (!plane.isLinear() && STRIP_LINES % plane.blockHeight != 0)) {
                return false;
            }
        }
    }
    return true;
}
static_assert(canUnpackAll(), "Unpack.cpp cannot unpack a layout of the table");

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
