// The catalogue, frame geometry and platform support.
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "TestFiles.h"
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
    for (const auto& [name, format] : formats) { EXPECT_EQ(C::getColorFormatFromStr(name), format) << name; }
    const std::pair<const char*, int> spaces[] = {
        {"BT601_LIMIT", 0}, {"BT601_FULL", 1}, {"BT709_LIMIT", 2}, {"BT709_FULL", 3}, {"BT2020_LIMIT", 4},
        {"BT2020_FULL", 5}, {"bt709_full", 0}, {"BT709", 0}, {"", 0}};
    for (const auto& [name, space] : spaces) { EXPECT_EQ(C::getColorSpaceFromStr(name), space) << name; }
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
    for (const auto& [value, to, up] : roundings) { EXPECT_EQ(C::roundUp(value, to), up) << value << ", " << to; }
}

TEST(Geometry, PlanesPitchesAndFrames) {
    for (std::istringstream& row : tableRows("planes.txt")) {
        SCOPED_TRACE(row.str());
        std::string name;
        int w = 0, h = 0, frame = 0, yPitch = 0, uvPitch = 0;
        uint32_t sizes[3];
        row >> name >> w >> h >> frame >> yPitch >> uvPitch >> sizes[0] >> sizes[1] >> sizes[2];
        const C::ColorFormat format = C::getColorFormatFromStr(name);
        C::ColorConvertBuffer buffer = {format, 5, w, h, 9, {1, 2, 3}, 4, 5, 6};
        colorFormatInfo(format).calculate(buffer);
        EXPECT_EQ(std::vector(buffer.mPlaneSize, buffer.mPlaneSize + 3), std::vector(sizes, sizes + 3));
        EXPECT_EQ(buffer.mPlaneCount, 3 - std::count(sizes, sizes + 3, 0));
        EXPECT_EQ(std::tuple(buffer.mYPitch, buffer.mUVPitch), std::tuple(yPitch, uvPitch));
        EXPECT_EQ(std::tuple(buffer.mFormat, buffer.mColorSpace, buffer.mFd), std::tuple(format, 5, 9));
        EXPECT_EQ(C::getFrameSize(w, h, format), frame);
    }
}

TEST(Geometry, PartLists) {
    for (std::istringstream& row : tableRows("parts.txt")) {
        std::string name;
        int w = 0, h = 0;
        Parts parts(4);
        row >> name >> w >> h;
        for (auto& [size, offset] : parts) { row >> size >> offset; }
        EXPECT_EQ(C::getSeparateSize(w, h, C::getColorFormatFromStr(name)), parts) << row.str();
    }
    for (const auto f : {C::UNKNOWN, C::NV12, C::NV12_BLK}) { EXPECT_EQ(C::getSeparateSize(64, 64, f), Parts()); }
    EXPECT_EQ(C::getSeparateSize(100000, 100000, C::CPQ), Parts());
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
    for (std::istringstream& row : tableRows("boards.txt")) {
        std::string supported, board;
        std::getline(row, supported, '|');
        std::getline(row, board);
        setenv("VEX_HOST_BOARD_PLATFORM", board.c_str(), 1);
        std::string answers;
        for (int value = 0; value <= 18; ++value) {
            answers += C::checkPlatformSupport(static_cast<C::ColorFormat>(value)) ? 'y' : 'n';
        }
        EXPECT_EQ(answers, supported) << board;
    }
    unsetenv("VEX_HOST_BOARD_PLATFORM");
}

// clang-format on

}  // namespace
