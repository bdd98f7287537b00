#include "Layout.h"

namespace host {

namespace {

constexpr int64_t up(int64_t value, int64_t step) { return (value + step - 1) / step * step; }

Places backToBack(int64_t /*width*/, int64_t /*height*/, const uint32_t* sizes) {
    return {{0, sizes[0], int64_t{sizes[0]} + sizes[1]}, {}};
}

// AFBC: the headers of all superblocks, then the superblocks, which hold all planes.
Places afbc(int64_t headers, int64_t step) {
    const int64_t start = up(headers, step);
    return {{start, start, start}, {{{0, headers}, {}}}};
}

Places afbcRgb(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return afbc(width * height / 16, 1024);
}

Places afbcYuv(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return afbc(height / 16 * (width / 16 * 16), 256);
}

// CPQ: luma, chroma, luma headers, chroma headers.
Places cpq(int64_t area, int64_t lumaBytes, int64_t chromaBytes) {
    const int64_t chroma = up(lumaBytes, 4096);
    const int64_t lumaHeader = up(area / 256 + 128, 64);
    const int64_t chromaHeader = up(lumaHeader / 2 + 112, 32);
    return {{0, chroma, 0}, {{{chroma + up(chromaBytes, 512), lumaHeader + chromaHeader}, {}}}};
}

Places cpq8(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return cpq(width * height, width * height, width * height / 2);
}

Places cpq10(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    const int64_t area = width * height;
    return cpq(area, 10 * area / 8, 10 * (area / 2) / 8);
}

// Lumo: luma headers, luma, chroma headers, chroma; a body starts on a page.
Places lumo(int64_t area, int64_t lumaBytes) {
    const int64_t luma = up(area / 64, 4096);
    const int64_t chroma = up(luma + lumaBytes + up(area / 128, 64), 4096);
    return {{luma, chroma, 0},
            {{{luma - up(area / 64, 64), area / 64}, {chroma - up(area / 128, 64), area / 128}}}};
}

Places lumo8(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return lumo(width * height, width * height);
}

Places lumo12(int64_t width, int64_t height, const uint32_t* /*sizes*/) {
    return lumo(width * height, 6 * width * height / 4);
}

constexpr PlaneLayout rows(Role role) { return {role, Packing::ROWS, 0, 0, 0, 0}; }

constexpr PlaneLayout blocks(Role role, Packing packing, int samples, int lines, int bytes,
                             int offset = 0) {
    return {role, packing, samples, lines, bytes, offset};
}

constexpr PlaneLayout NONE = rows(Role::RGB);
constexpr PlaneLayout RGB = rows(Role::RGB);
constexpr PlaneLayout LUMA = rows(Role::LUMA);
constexpr PlaneLayout PAIRS = rows(Role::CHROMA_PAIRS);
constexpr PlaneLayout CHROMA = rows(Role::CHROMA);

constexpr bool CB_CR = false;
constexpr bool CR_CB = true;

// The chip's blocks: 16 samples x 32 lines of luma, 16 samples x 16 lines of chroma.
constexpr PlaneLayout BLK_LUMA = blocks(Role::LUMA, Packing::BYTE_BLOCKS, 16, 32, 512);
constexpr PlaneLayout BLK_PAIRS = blocks(Role::CHROMA_PAIRS, Packing::BYTE_BLOCKS, 16, 16, 256);
constexpr PlaneLayout BLK10_LUMA = blocks(Role::LUMA, Packing::BLOCKS_10, 16, 32, 640);
constexpr PlaneLayout BLK10_PAIRS = blocks(Role::CHROMA_PAIRS, Packing::BLOCKS_10, 16, 16, 320);

// AFBC superblocks of 16 x 16 pixels; the 10-bit ones end with 32 unused bytes.
constexpr PlaneLayout AFBC_RGB = blocks(Role::RGB, Packing::BYTE_BLOCKS, 64, 16, 1024);
constexpr PlaneLayout AFBC_LUMA = blocks(Role::LUMA, Packing::BYTE_BLOCKS, 16, 16, 384);
constexpr PlaneLayout AFBC_PAIRS =
    blocks(Role::CHROMA_PAIRS, Packing::BYTE_BLOCKS, 16, 8, 384, 256);
constexpr PlaneLayout AFBC10_LUMA = blocks(Role::LUMA, Packing::BLOCKS_10, 16, 16, 512);
constexpr PlaneLayout AFBC10_PAIRS =
    blocks(Role::CHROMA_PAIRS, Packing::BLOCKS_10, 16, 8, 512, 320);

// Lumo blocks of 64 samples.
constexpr PlaneLayout LUMO_LUMA = blocks(Role::LUMA, Packing::BYTE_BLOCKS, 8, 8, 64);
constexpr PlaneLayout LUMO_PAIRS = blocks(Role::CHROMA_PAIRS, Packing::BYTE_BLOCKS, 16, 4, 64);
constexpr PlaneLayout LUMO12_LUMA = blocks(Role::LUMA, Packing::BLOCKS_12, 8, 8, 96);
constexpr PlaneLayout LUMO12_PAIRS = blocks(Role::CHROMA_PAIRS, Packing::BLOCKS_12, 16, 4, 96);

// clang-format off
constexpr Layout LAYOUTS[] = {
    // code       form               planes                             chroma told pitches places      compressed
    {0x00201821, Form::RGB888,      1, {RGB, NONE, NONE},                 CB_CR, 1,   6,  0,  backToBack, nullptr},  // RGB888
    {0x00202022, Form::RGBA8888,    1, {RGB, NONE, NONE},                 CB_CR, 1,   8,  0,  backToBack, nullptr},  // RGBA8888
    {0x10202022, Form::RGBA1010102, 1, {RGB, NONE, NONE},                 CB_CR, 1,   8,  0,  backToBack, nullptr},  // RGBA1010102
    {0x20202022, Form::RGBA8888,    1, {AFBC_RGB, NONE, NONE},            CB_CR, 1,   8,  0,  afbcRgb,    "RGBA8888_AFBC"},
    {0x30202022, Form::RGBA1010102, 1, {AFBC_RGB, NONE, NONE},            CB_CR, 1,   8,  0,  afbcRgb,    "RGBA1010102_AFBC"},
    {0x004C084C, Form::NV12,        2, {LUMA, PAIRS, NONE},               CB_CR, 2,   2,  2,  backToBack, nullptr},  // NV12
    {0x084C104C, Form::P010,        2, {LUMA, PAIRS, NONE},               CB_CR, 2,   4,  4,  backToBack, nullptr},  // P010
    {0x006C0868, Form::NV12,        3, {LUMA, CHROMA, CHROMA},            CR_CB, 3,   2,  1,  backToBack, nullptr},  // YV12
    {0x006C0848, Form::NV12,        3, {LUMA, CHROMA, CHROMA},            CB_CR, 3,   2,  1,  backToBack, nullptr},  // YUV420P
    {0x202C0C4C, Form::NV12,        2, {AFBC_LUMA, AFBC_PAIRS, NONE},     CB_CR, 1,   3,  3,  afbcYuv,    "YUV420P_AFBC"},
    {0x302C104C, Form::P010,        2, {AFBC10_LUMA, AFBC10_PAIRS, NONE}, CB_CR, 1,   4,  4,  afbcYuv,    "YUV420P_10BIT_AFBC"},
    {0x00CD004C, Form::NV12,        2, {BLK_LUMA, BLK_PAIRS, NONE},       CB_CR, 2,  64, 32,  backToBack, nullptr},  // NV12_BLK
    {0x18CD404C, Form::P010,        2, {BLK10_LUMA, BLK10_PAIRS, NONE},   CB_CR, 2,  80, 40,  backToBack, nullptr},  // NV12_BLK_10BIT_V
    {0x02CD004C, Form::NV12,        2, {BLK_LUMA, BLK_PAIRS, NONE},       CB_CR, 2,  64, 32,  cpq8,       "CPQ"},
    {0x1ACD404C, Form::P010,        2, {BLK10_LUMA, BLK10_PAIRS, NONE},   CB_CR, 2,  80, 40,  cpq10,      "CPQ_10BIT_V"},
    {0x402C0C4C, Form::NV12,        2, {LUMO_LUMA, LUMO_PAIRS, NONE},     CB_CR, 1,  24,  0,  lumo8,      "NV12_Lumo"},
    {0x502C124C, Form::P010,        2, {LUMO12_LUMA, LUMO12_PAIRS, NONE}, CB_CR, 1,  36,  0,  lumo12,     "P010_Lumo"},
};
// clang-format on

constexpr bool canUnpack(const PlaneLayout& plane, Form form) {
    const int samples = plane.blockSamples;
    const bool eightOrSixteen = samples == 8 || samples == 16;
    switch (plane.packing) {
        case Packing::ROWS:
            return form != Form::P010 || plane.role != Role::CHROMA;
        case Packing::BYTE_BLOCKS:
            return form != Form::P010 && (eightOrSixteen || samples == 64);
        case Packing::BLOCKS_10:
            return form == Form::P010 && samples == 16;
        case Packing::BLOCKS_12:
            return form == Form::P010 && eightOrSixteen;
    }
    return false;
}

constexpr bool canUnpackAll() {
    for (const Layout& layout : LAYOUTS) {
        bool known = !layout.crFirst || layout.form == Form::NV12;
        for (const PlaneLayout& plane : layout.planes) {
            known = known && canUnpack(plane, layout.form) &&
                    (plane.isRows() || STRIP_LINES % plane.blockLines == 0);
        }
        if (!known) {
            return false;
        }
    }
    return true;
}
static_assert(canUnpackAll(), "a layout wants what Unpack.cpp doesn't do");

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
