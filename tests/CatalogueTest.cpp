// The catalogue, frame geometry and platform support.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>
#include <tuple>
#include <vector>

#include "color/Catalogue.h"
#include "color/ColorConvert.h"

namespace {

using C = ColorConvert;
using Parts = std::vector<std::pair<int, int>>;

// Tables, several cases a line.
// clang-format off

TEST(Catalogue, Names) {
    const std::pair<const char*, int> formats[] = {
        {"NV12", C::NV12}, {"nv12", 0}, {"NV12 ", 0}, {"NV1", 0}, {"", 0}, {"RGB888", C::RGB888},
        {"NV12_Lumo", C::NV12_LUMO}, {"NV12_LUMO", 0}, {"P010_Lumo", C::P010_LUMO}};
    for (const auto& [name, format] : formats) {
        EXPECT_EQ(C::getColorFormatFromStr(name), format) << name;
    }
    const std::pair<const char*, int> spaces[] = {
        {"BT601_LIMIT", 0}, {"BT601_FULL", 1}, {"BT709_LIMIT", 2}, {"BT709_FULL", 3}, {"BT2020_LIMIT", 4},
        {"BT2020_FULL", 5}, {"bt709_full", 0}, {"BT709", 0}, {"", 0}};
    for (const auto& [name, space] : spaces) {
        EXPECT_EQ(C::getColorSpaceFromStr(name), space) << name;
    }
}

TEST(Catalogue, OutputsByValue) {
    const int outputs[] = {6, 1, 2, 3, 2, 3, 6, 7, 6, 6, 6, 7, 6, 7, 6, 7, 6, 7, 6};  // of 0 to 18
    const char* const extensions[] = {"yuv", "rgb888", "rgba8888", "rgba1010102", "yuv", "yuv", "nv12", "p010"};
    for (int value = 0; value <= 18; ++value) {
        const auto format = static_cast<C::ColorFormat>(value);
        EXPECT_EQ(C::getDefaultOutputFormat(format), outputs[value]) << value;
        EXPECT_EQ(C::getExtensionName(format), value < 8 ? extensions[value] : "yuv") << value;
        EXPECT_EQ(C::isSeparate(format), value >= 14 && value <= 17) << value;
    }
}

TEST(Geometry, AlignedSizes) {
    const std::tuple<int, int, C::ColorFormat, int, int> cases[] = {
        {1920, 1080, C::NV12_BLK, 1920, 1088}, {1918, 1080, C::YV12, 1920, 1080}, {1, 1, C::NV12_LUMO, 64, 64},
        {1919, 1079, C::RGB888, 1919, 1079}, {1920, 1080, C::UNKNOWN, 0, 0}, {INT32_MAX, 1, C::NV12, -1, 2}};
    for (const auto& [w, h, format, alignedW, alignedH] : cases) {
        EXPECT_EQ(C::getDefaultAlignedSize(w, h, format), std::pair(alignedW, alignedH));
    }
    const std::tuple<int, int, int> roundings[] = {
        {1080, 32, 1088}, {1920, 16, 1920}, {7, 2, 8}, {5, 1, 5}, {5, 0, 0}, {5, -2, -1}, {2, INT32_MIN, -1},
        {INT32_MAX, 2, -1}, {INT32_MAX, INT32_MAX, INT32_MAX}};
    for (const auto& [value, alignment, result] : roundings) {
        EXPECT_EQ(C::roundUp(value, alignment), result) << value << ", " << alignment;
    }
}

struct Planes {
    C::ColorFormat format;
    int w, h;
    std::vector<uint32_t> sizes;
    int yPitch, uvPitch;
    int frame;
};

TEST(Geometry, PlanesPitchesAndFrames) {
    const Planes cases[] = {
        {C::RGB888, 1920, 1088, {6266880}, 5760, 0, 6266880},
        {C::RGBA8888, 1920, 1088, {8355840}, 7680, 0, 8355840},
        {C::RGBA1010102, 1920, 1088, {8355840}, 7680, 0, 8355840},
        {C::RGBA8888_AFBC, 1920, 1088, {8486912}, 7680, 0, 8486912},
        {C::RGBA8888_AFBC, 64, 64, {17408}, 256, 0, 17408},
        {C::RGBA1010102_AFBC, 1920, 1088, {8486912}, 7680, 0, 8486912},
        {C::NV12, 1920, 1088, {2088960, 1044480}, 1920, 1920, 3133440},
        {C::NV12, 4, 3, {12, 4}, 4, 4, 16},
        {C::P010, 1920, 1088, {4177920, 2088960}, 3840, 3840, 6266880},
        {C::YV12, 1920, 1088, {2088960, 522240, 522240}, 1920, 960, 3133440},
        {C::YV12, 40, 2, {80, 32, 32}, 40, 32, 144},
        {C::YUV420P, 40, 2, {80, 20, 20}, 40, 20, 120},
        {C::YUV420P_AFBC, 1920, 1088, {3264000}, 2880, 2880, 3264000},
        {C::YUV420P_AFBC, 15, 16, {360}, 22, 22, 360},
        {C::YUV420P_10BIT_AFBC, 1920, 1088, {4308480}, 3840, 3840, 4308480},
        {C::NV12_BLK, 1920, 1088, {2088960, 1044480}, 61440, 30720, 3133440},
        {C::NV12_BLK_10BIT_V, 1920, 1088, {2611200, 1305600}, 76800, 38400, 3916800},
        {C::CPQ, 1920, 1088, {2088960, 1044480}, 61440, 30720, 3146048},
        {C::CPQ, 1280, 720, {921600, 460800}, 40960, 20480, 1388192},
        {C::CPQ_10BIT_V, 1920, 1088, {2611200, 1305600}, 76800, 38400, 3931456},
        {C::CPQ_10BIT_V, 64, 64, {5120, 2560}, 2560, 1280, 11168},
        {C::NV12_LUMO, 1920, 1088, {3182592}, 23040, 0, 3182592},
        {C::NV12_LUMO, 1280, 720, {1406976}, 15360, 0, 1406976},
        {C::P010_LUMO, 1920, 1088, {4749312}, 34560, 0, 4749312},
    };
    for (const Planes& c : cases) {
        SCOPED_TRACE(colorFormatInfo(c.format).name);
        C::ColorConvertBuffer buffer = {c.format, 5, c.w, c.h, 9, {1, 2, 3}, 4, 5, 6};
        colorFormatInfo(c.format).calculate(buffer);
        EXPECT_EQ(buffer.mPlaneCount, c.sizes.size());
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(buffer.mPlaneSize[i], i < c.sizes.size() ? c.sizes[i] : 0);
        }
        EXPECT_EQ(buffer.mYPitch, c.yPitch);
        EXPECT_EQ(buffer.mUVPitch, c.uvPitch);
        EXPECT_EQ(std::tuple(buffer.mFormat, buffer.mColorSpace, buffer.mFd),
                  std::tuple(c.format, 5, 9));
        EXPECT_EQ(C::getFrameSize(c.w, c.h, c.format), c.frame);
    }
}

TEST(Geometry, PartLists) {
    const std::tuple<C::ColorFormat, int, int, Parts> cases[] = {
        {C::CPQ, 1920, 1088, {{2088960, 0}, {8320, 3133440}, {1044480, 2088960}, {4288, 3141760}}},
        {C::CPQ, 1280, 720, {{921600, 0}, {3776, 1382400}, {460800, 921600}, {2016, 1386176}}},
        {C::CPQ_10BIT_V, 1920, 1088, {{2613248, 0}, {8320, 3918848}, {1305600, 2613248}, {4288, 3927168}}},
        {C::CPQ_10BIT_V, 64, 64, {{8192, 0}, {192, 10752}, {2560, 8192}, {224, 10944}}},
        {C::NV12_LUMO, 1920, 1088, {{2088960, 32768}, {32640, 128}, {1044480, 2138112}, {16320, 2121792}}},
        {C::NV12_LUMO, 1280, 720, {{921600, 16384}, {14400, 1984}, {460800, 946176}, {7200, 938944}}},
        {C::P010_LUMO, 1920, 1088, {{3133440, 32768}, {32640, 128}, {1566720, 3182592}, {16320, 3166272}}},
        {C::NV12, 1920, 1088, {}}, {C::NV12_BLK, 1920, 1088, {}}, {C::UNKNOWN, 64, 64, {}}, {C::CPQ, 100000, 100000, {}}};
    for (const auto& [format, w, h, parts] : cases) {
        EXPECT_EQ(C::getSeparateSize(w, h, format), parts) << format << ", " << w;
    }
}

TEST(Geometry, FramesThatLeaveTheRangeAreRefused) {
    for (int value = 1; value < COLOR_FORMAT_COUNT; ++value) {
        const auto format = static_cast<C::ColorFormat>(value);
        for (const auto& [w, h] : {std::pair(100000, 100000), std::pair(INT32_MAX, INT32_MAX),
                                   std::pair(-1, 16), std::pair(16, -1)}) {
            EXPECT_EQ(C::getFrameSize(w, h, format), -1) << value << ": " << w << " x " << h;
        }
    }
    // The largest that fit, and the next line.
    EXPECT_EQ(C::getFrameSize(32768, 16383, C::RGBA8888), 4 * 32768 * 16383);
    EXPECT_EQ(C::getFrameSize(32768, 16384, C::RGBA8888), -1);
    // The ten-fold area leaves the range before the frame does.
    EXPECT_GT(C::getFrameSize(16384, 13088, C::NV12_BLK_10BIT_V), 0);
    EXPECT_EQ(C::getFrameSize(16384, 13120, C::NV12_BLK_10BIT_V), -1);
}

TEST(Platform, FormatsOfBoards) {
    // A character a value from 0 to 18: y where the board reads the format.
    const std::pair<const char*, const char*> cases[] = {
        {nullptr, "yyyynnyyyynnyyyynny"}, {"", "yyyynnyyyynnyyyynny"}, {"vx2415", "yyyyyyyyyyyyyyyyyyy"},
        {"vx2410", "yyyyyyyyyyyyyyyynny"}, {"vx2365", "yyyyyyyyyyyyyyyynny"}, {"vx2340", "yyyyyyyyyyyyyyyynny"},
        {"vx2355", "yyyyyyyyyyyyyyyynny"}, {"vx2360", "yyyyyyyyyynnyyyynny"}, {"vx2350", "yyyyyyyyyynnyyyynny"},
        {"vx2335", "yyyyyyyyyynnyyyynny"}, {"vx2330", "yyyyyyyyyynnyyyynny"}, {"vx2320", "yyyyyyyyyynnyyyynny"},
        {"vx2215", "yyyynnyyyynnyynnnny"}, {"vx2210", "yyyynnyyyynnyynnnny"}, {"vx2105", "yyynnnynyynnyynnnny"},
        {"VX2415", "yyyynnyyyynnyyyynny"}, {"vx2415 ", "yyyynnyyyynnyyyynny"}};
    for (const auto& [board, supported] : cases) {
        unsetenv("VEX_HOST_BOARD_PLATFORM");
        if (board != nullptr) {
            setenv("VEX_HOST_BOARD_PLATFORM", board, 1);
        }
        std::string answers;
        for (int value = 0; value <= 18; ++value) {
            const auto format = static_cast<C::ColorFormat>(value);
            answers += C::checkPlatformSupport(format) ? 'y' : 'n';
        }
        EXPECT_EQ(answers, supported) << (board == nullptr ? "unset" : board);
    }
    unsetenv("VEX_HOST_BOARD_PLATFORM");
}

// clang-format on

}  // namespace
