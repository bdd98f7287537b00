#include "color/Catalogue.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace {

using Buffer = ColorConvert::ColorConvertBuffer;

void setPlanes(Buffer& buffer, std::initializer_list<Size> planes, Size yPitch, Size uvPitch) {
    std::fill(std::begin(buffer.mPlaneSize), std::end(buffer.mPlaneSize), 0);
    Size total = 0;
    uint32_t count = 0;
    for (const Size& plane : planes) {
        total = total + plane;
        buffer.mPlaneSize[count++] = static_cast<uint32_t>(plane.value());
    }
    buffer.mYPitch = yPitch.value();
    buffer.mUVPitch = uvPitch.value();
    buffer.mPlaneCount = total.fits() && yPitch.fits() && uvPitch.fits() ? count : 0;
}

void calculatePixels(Buffer& buffer, int pixelBytes) {
    const Size pitch = Size(pixelBytes) * buffer.mWidth;
    setPlanes(buffer, {pitch * buffer.mHeight}, pitch, 0);
}

void calculateRGB888(Buffer& buffer) { calculatePixels(buffer, 3); }

void calculateRGBA8888(Buffer& buffer) { calculatePixels(buffer, 4); }

void calculateRGBA1010102(Buffer& buffer) { calculateRGBA8888(buffer); }

void calculateRGBA8888_AFBC(Buffer& buffer) {
    const Size area = Size(buffer.mWidth) * buffer.mHeight;
    setPlanes(buffer, {alignUp(area / 16, 1024) + 4 * area}, Size(4) * buffer.mWidth, 0);
}

void calculateRGBA1010102_AFBC(Buffer& buffer) { calculateRGBA8888_AFBC(buffer); }

void calculateNV12(Buffer& buffer) {
    const Size w = buffer.mWidth;
    const Size h = buffer.mHeight;
    setPlanes(buffer, {w * h, w * (h >> 1)}, w, w);
}

void calculateP010(Buffer& buffer) {
    const Size area = Size(buffer.mWidth) * buffer.mHeight;
    const Size pitch = Size(2) * buffer.mWidth;
    setPlanes(buffer, {2 * area, area}, pitch, pitch);
}

void calculatePlanar(Buffer& buffer, Size chromaPitch) {
    const Size w = buffer.mWidth;
    const Size h = buffer.mHeight;
    const Size chroma = chromaPitch * (h >> 1);
    setPlanes(buffer, {w * h, chroma, chroma}, w, chromaPitch);
}

void calculateYV12(Buffer& buffer) {
    calculatePlanar(buffer, alignUp(Size(buffer.mWidth) >> 1, 16));
}

void calculateYUV420P(Buffer& buffer) { calculatePlanar(buffer, Size(buffer.mWidth) >> 1); }

// Each superblock of 16 x 16 pixels has a header of 16 bytes.
Size afbcYuvHeaders(const Buffer& buffer) {
    return alignUp(16 * (Size(buffer.mWidth) / 16) * (Size(buffer.mHeight) / 16), 256);
}

void calculateYUV420P_AFBC(Buffer& buffer) {
    const Size pitch = Size(3) * buffer.mWidth;
    setPlanes(buffer, {afbcYuvHeaders(buffer) + ((pitch * buffer.mHeight) >> 1)}, pitch >> 1,
              pitch >> 1);
}

void calculateYUV420P_10BIT_AFBC(Buffer& buffer) {
    const Size pitch = Size(2) * buffer.mWidth;
    setPlanes(buffer, {afbcYuvHeaders(buffer) + pitch * buffer.mHeight}, pitch, pitch);
}

// The pitches of block formats are bytes per row of blocks, which are 32 lines of luma and 16 lines
// of chroma.
void calculateNV12_BLK(Buffer& buffer) {
    const Size w = buffer.mWidth;
    const Size h = buffer.mHeight;
    setPlanes(buffer, {w * h, w * (h >> 1)}, 32 * w, 16 * w);
}

void calculateNV12_BLK_10BIT_V(Buffer& buffer) {
    const Size w = buffer.mWidth;
    const Size h = buffer.mHeight;
    setPlanes(buffer, {alignUp((10 * w) * h / 8, 512), (10 * w) * (h >> 1) / 8}, 40 * w, 20 * w);
}

// For CPQ the blit engine wants the plane sizes and pitches of a block frame.
void calculateCPQ(Buffer& buffer) { calculateNV12_BLK(buffer); }

void calculateCPQ_10BIT_V(Buffer& buffer) { calculateNV12_BLK_10BIT_V(buffer); }

// In a CPQ frame the bodies come first, then the headers.
FrameParts cpqParts(Size area, Size lumaBody, Size chromaBody) {
    const Size lumaHeader = alignUp((area >> 8) + 128, 64);
    const Size chromaHeader = alignUp((lumaHeader >> 1) + 112, 32);
    const Size bodies = lumaBody + chromaBody;
    return {{{lumaBody, 0},
             {lumaHeader, bodies},
             {chromaBody, lumaBody},
             {chromaHeader, bodies + lumaHeader}}};
}

FrameParts partsOfCPQ(Size area) {
    return cpqParts(area, alignUp(area, 4096), alignUp(area >> 1, 512));
}

FrameParts partsOfCPQ_10BIT_V(Size area) {
    return cpqParts(area, alignUp(10 * area / 8, 4096), alignUp(10 * (area >> 1) / 8, 512));
}

// In a Lumo frame each header, rounded up to 64 bytes, ends where its body begins.
FrameParts lumoParts(Size area, Size lumaBody, Size chromaBody) {
    const Size lumaHeader = area >> 6;
    const Size chromaHeader = area >> 7;
    const Size lumaStart = alignUp(lumaHeader, 4096);
    const Size chromaStart = alignUp(lumaStart + lumaBody + alignUp(chromaHeader, 64), 4096);
    return {{{lumaBody, lumaStart},
             {lumaHeader, lumaStart - alignUp(lumaHeader, 64)},
             {chromaBody, chromaStart},
             {chromaHeader, chromaStart - alignUp(chromaHeader, 64)}}};
}

FrameParts partsOfNV12_LUMO(Size area) { return lumoParts(area, area, area >> 1); }

// A sample has 12 bits. Because 6 * area must fit, larger frames are out of range.
FrameParts partsOfP010_LUMO(Size area) { return lumoParts(area, 6 * area >> 2, 6 * area >> 3); }

// A Lumo frame is one plane, which ends with the chroma body. Its pitch is that of 8 lines of luma
// and their chroma. pitchPerPixel has the bytes of the pitch for a pixel of the width.
void calculateLumo(Buffer& buffer, FrameParts (*partsOf)(Size), int pitchPerPixel) {
    const FramePart chromaBody = partsOf(Size(buffer.mWidth) * buffer.mHeight)[2];
    const Size pitch = Size(pitchPerPixel) * buffer.mWidth;
    setPlanes(buffer, {chromaBody.offset + chromaBody.size}, pitch, 0);
}

void calculateNV12_LUMO(Buffer& buffer) { calculateLumo(buffer, partsOfNV12_LUMO, 12); }

void calculateP010_LUMO(Buffer& buffer) { calculateLumo(buffer, partsOfP010_LUMO, 18); }

constexpr const char* NO_BOARD[] = {nullptr};
constexpr const char* VX2105[] = {"vx2105", nullptr};
constexpr const char* WITHOUT_CPQ[] = {"vx2215", "vx2210", "vx2105", nullptr};
constexpr const char* WITH_AFBC_RGB[] = {"vx2415", "vx2410", "vx2365", "vx2340", "vx2360", "vx2350",
                                         "vx2335", "vx2330", "vx2320", "vx2355", nullptr};
constexpr const char* WITH_AFBC_YUV[] = {"vx2415", "vx2410", "vx2365", "vx2340", "vx2355", nullptr};
constexpr const char* WITH_LUMO[] = {"vx2415", nullptr};

constexpr PlatformSupport EVERYWHERE = {PlatformSupport::ALL_BUT, NO_BOARD};
constexpr PlatformSupport NOT_VX2105 = {PlatformSupport::ALL_BUT, VX2105};
constexpr PlatformSupport CPQ_BOARDS = {PlatformSupport::ALL_BUT, WITHOUT_CPQ};
constexpr PlatformSupport AFBC_RGB_BOARDS = {PlatformSupport::ONLY_ON, WITH_AFBC_RGB};
constexpr PlatformSupport AFBC_YUV_BOARDS = {PlatformSupport::ONLY_ON, WITH_AFBC_YUV};
constexpr PlatformSupport LUMO_BOARDS = {PlatformSupport::ONLY_ON, WITH_LUMO};

using Color = ColorConvert;

// Returns true if each row's value is the number of the row. If the table lacks rows, it ends with
// rows whose value is 0.
template <typename Table>
constexpr bool isInOrder(const Table& table) {
    for (size_t i = 0; i < table.size(); ++i) {
        if (static_cast<size_t>(table[i].value) != i) {
            return false;
        }
    }
    return true;
}

}  // namespace

// clang-format off
constexpr std::array<ColorFormatInfo, Color::COLOR_FORMAT_COUNT> colorFormatInfos = {{
    // value                code        name                  plane rule                    aligned   output           extension      parts               boards           description
    {Color::UNKNOWN,             0x00000000, "",                   nullptr,                      1,  1, Color::NV12,         "yuv",         nullptr,            EVERYWHERE,      ""},
    {Color::RGB888,              0x00201821, "RGB888",             calculateRGB888,              1,  1, Color::RGB888,       "rgb888",      nullptr,            EVERYWHERE,      "RGB888"},
    {Color::RGBA8888,            0x00202022, "RGBA8888",           calculateRGBA8888,            1,  1, Color::RGBA8888,     "rgba8888",    nullptr,            EVERYWHERE,      "RGBA8888"},
    {Color::RGBA1010102,         0x10202022, "RGBA1010102",        calculateRGBA1010102,         1,  1, Color::RGBA1010102,  "rgba1010102", nullptr,            NOT_VX2105,      "RGBA1010102"},
    {Color::RGBA8888_AFBC,       0x20202022, "RGBA8888_AFBC",      calculateRGBA8888_AFBC,      32, 32, Color::RGBA8888,     "yuv",         nullptr,            AFBC_RGB_BOARDS, "AFBC RGBA8888"},
    {Color::RGBA1010102_AFBC,    0x30202022, "RGBA1010102_AFBC",   calculateRGBA1010102_AFBC,   32, 32, Color::RGBA1010102,  "yuv",         nullptr,            AFBC_RGB_BOARDS, "AFBC RGBA1010102"},
    {Color::NV12,                0x004C084C, "NV12",               calculateNV12,                2,  2, Color::NV12,         "nv12",        nullptr,            EVERYWHERE,      "NV12"},
    {Color::P010,                0x084C104C, "P010",               calculateP010,                2,  2, Color::P010,         "p010",        nullptr,            NOT_VX2105,      "10bit NV12"},
    {Color::YV12,                0x006C0868, "YV12",               calculateYV12,               16,  2, Color::NV12,         "yuv",         nullptr,            EVERYWHERE,      "Android YV12"},
    {Color::YUV420P,             0x006C0848, "YUV420P",            calculateYUV420P,             2,  2, Color::NV12,         "yuv",         nullptr,            EVERYWHERE,      "Also be known as I420"},
    {Color::YUV420P_AFBC,        0x202C0C4C, "YUV420P_AFBC",       calculateYUV420P_AFBC,       32, 32, Color::NV12,         "yuv",         nullptr,            AFBC_YUV_BOARDS, "AFBC YUV420P"},
    {Color::YUV420P_10BIT_AFBC,  0x302C104C, "YUV420P_10BIT_AFBC", calculateYUV420P_10BIT_AFBC, 32, 32, Color::P010,         "yuv",         nullptr,            AFBC_YUV_BOARDS, "AFBC 10bit YUV420P"},
    {Color::NV12_BLK,            0x00CD004C, "NV12_BLK",           calculateNV12_BLK,           16, 32, Color::NV12,         "yuv",         nullptr,            EVERYWHERE,      "VEX NV12 Frame Block YUV"},
    {Color::NV12_BLK_10BIT_V,    0x18CD404C, "NV12_BLK_10BIT_V",   calculateNV12_BLK_10BIT_V,   16, 32, Color::P010,         "yuv",         nullptr,            EVERYWHERE,      "VEX 10bit NV12 Frame Tile YUV"},
    {Color::CPQ,                 0x02CD004C, "CPQ",                calculateCPQ,                32, 32, Color::NV12,         "yuv",         partsOfCPQ,         CPQ_BOARDS,      "VEX NV12 Frame Block CPQ YUV"},
    {Color::CPQ_10BIT_V,         0x1ACD404C, "CPQ_10BIT_V",        calculateCPQ_10BIT_V,        32, 32, Color::P010,         "yuv",         partsOfCPQ_10BIT_V, CPQ_BOARDS,      "VEX 10bit NV12 Frame Tile CPQ YUV"},
    {Color::NV12_LUMO,           0x402C0C4C, "NV12_Lumo",          calculateNV12_LUMO,          64, 64, Color::NV12,         "yuv",         partsOfNV12_LUMO,   LUMO_BOARDS,     "VEX Lumo NV12"},
    {Color::P010_LUMO,           0x502C124C, "P010_Lumo",          calculateP010_LUMO,          64, 64, Color::P010,         "yuv",         partsOfP010_LUMO,   LUMO_BOARDS,     "VEX Lumo P010"},
}};

constexpr std::array<ColorSpaceInfo, Color::COLOR_SPACE_COUNT> colorSpaceInfos = {{
    // value           name            description           profile
    {Color::BT601_LIMIT,  "BT601_LIMIT",  "BT601 limit range",  0},
    {Color::BT601_FULL,   "BT601_FULL",   "BT601 full range",   2},
    {Color::BT709_LIMIT,  "BT709_LIMIT",  "BT709 limit range",  1},
    {Color::BT709_FULL,   "BT709_FULL",   "BT709 full range",   4},
    {Color::BT2020_LIMIT, "BT2020_LIMIT", "BT2020 limit range", 3},
    {Color::BT2020_FULL,  "BT2020_FULL",  "BT2020 full range",  5},
}};
// clang-format on

static_assert(isInOrder(colorFormatInfos), "a color format's row is missing or out of order");
static_assert(isInOrder(colorSpaceInfos), "a color space's row is missing or out of order");

const ColorFormatInfo& colorFormatInfo(ColorConvert::ColorFormat format) {
    const auto row = static_cast<uint32_t>(format);
    return colorFormatInfos[row < colorFormatInfos.size() ? row : 0];
}
