// The catalogue, frame geometry and platform support.
#include <stdlib.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "TestFiles.h"
#include "color/Catalogue.h"
#include "color/ColorConvert.h"

namespace {

using C = ColorConvert;
using Parts = std::vector<std::pair<int, int>>;

TEST(Catalogue, Names) {
    for (const char* name : {"nv12", "NV12 ", "NV1", "", "NV12_LUMO"}) {
        EXPECT_EQ(C::getColorFormatFromStr(name), C::UNKNOWN) << name;
    }
    int value = 0;
    for (const auto& [name] : table<S>("spaces.txt")) {
        EXPECT_EQ(C::getColorSpaceFromStr(name), value++) << name;
    }
    EXPECT_EQ(value, C::COLOR_SPACE_COUNT) << "a color space has no row in tests/data/spaces.txt";
    for (const char* name : {"bt709_full", "BT709", ""}) {
        EXPECT_EQ(C::getColorSpaceFromStr(name), 0) << name;
    }
}

// A list of boards, or all but a list.
bool reads(std::string boards, const std::string& board) {
    const bool except = boards[0] == '!';
    boards = "," + boards.substr(except ? 1 : 0) + ",";
    return boards == ",*," || (boards.find("," + board + ",") != std::string::npos) != except;
}

TEST(Catalogue, RowsOfFormats) {
    const std::set<std::string> boards = {
        "",       "vx2415", "vx2410", "vx2365", "vx2340", "vx2360", "vx2350", "vx2335",
        "vx2330", "vx2320", "vx2355", "vx2215", "vx2210", "vx2105", "VX2415", "vx2415 "};
    int value = 0;
    for (const auto& [name, output, extension, w, h, separate, readers] :
         table<S, S, S, int, int, S, S>("formats.txt")) {
        SCOPED_TRACE(name);
        const C::ColorFormat format = C::getColorFormatFromStr(name);
        EXPECT_EQ(format, ++value);
        EXPECT_EQ(C::getDefaultOutputFormat(format), C::getColorFormatFromStr(output));
        EXPECT_EQ(C::getExtensionName(format), extension);
        EXPECT_EQ(C::isSeparate(format), separate == "separate");
        EXPECT_EQ(C::getDefaultAlignedSize(3 * w - (w > 1 ? 1 : 0), 5 * h, format),
                  std::pair(3 * w, 5 * h));
        EXPECT_EQ(C::getDefaultAlignedSize(2 * w + 1, 4 * h + 1, format),
                  std::pair(2 * w + w, 4 * h + h));
        for (const std::string& board : boards) {
            setenv("VEX_HOST_BOARD_PLATFORM", board.c_str(), 1);
            EXPECT_EQ(C::checkPlatformSupport(format), reads(readers, board))
                << "on '" << board << "'";
        }
    }
    EXPECT_EQ(value + 1, C::COLOR_FORMAT_COUNT);
    for (const auto none : {C::UNKNOWN, C::COLOR_FORMAT_COUNT, static_cast<C::ColorFormat>(-1)}) {
        EXPECT_EQ(C::getDefaultOutputFormat(none), C::NV12);
        EXPECT_EQ(C::getExtensionName(none), "yuv");
        EXPECT_FALSE(C::isSeparate(none));
        EXPECT_TRUE(C::checkPlatformSupport(none));
        EXPECT_EQ(C::getFrameSize(16, 16, none), 0);
    }
    unsetenv("VEX_HOST_BOARD_PLATFORM");
}

// A new format fails here until its rows are written.
TEST(Catalogue, TablesOfTheTestsHoldEveryFormat) {
    for (const char* file : {"formats.txt", "planes.txt", "layouts.txt", "parts.txt"}) {
        std::set<std::string> names;
        for (const auto& [name] : table<S>(file)) {
            names.insert(name);
        }
        for (const ColorFormatInfo& info : colorFormatInfos) {
            const bool wanted =
                info.value != C::UNKNOWN && (info.parts != nullptr || file != S("parts.txt"));
            EXPECT_TRUE(!wanted || names.count(info.name) == 1)
                << info.name << " has no row in tests/data/" << file;
        }
    }
}

TEST(Geometry, AlignedSizes) {
    EXPECT_EQ(C::getDefaultAlignedSize(1920, 1080, C::UNKNOWN), std::pair(0, 0));
    EXPECT_EQ(C::getDefaultAlignedSize(INT32_MAX, 1, C::NV12), std::pair(-1, 2));
    for (const auto& [value, to, up] : table<int, int, int64_t>("roundings.txt")) {
        EXPECT_EQ(C::roundUp(value, to), up) << value << ", " << to;
    }
}

TEST(Geometry, PlanesPitchesAndFrames) {
    for (const auto& [name, w, h, frame, yPitch, uvPitch, first, second, third] :
         table<S, int, int, int, int, int, uint32_t, uint32_t, uint32_t>("planes.txt")) {
        SCOPED_TRACE(name + " " + std::to_string(w));
        const std::vector<uint32_t> sizes = {first, second, third};
        const C::ColorFormat format = C::getColorFormatFromStr(name);
        C::ColorConvertBuffer buffer = {format, 5, w, h, 9, {1, 2, 3}, 4, 5, 6};
        colorFormatInfo(format).calculate(buffer);
        EXPECT_EQ(std::vector(buffer.mPlaneSize, buffer.mPlaneSize + 3), sizes);
        EXPECT_EQ(buffer.mPlaneCount, 3 - std::count(sizes.begin(), sizes.end(), 0));
        EXPECT_EQ(std::tuple(buffer.mYPitch, buffer.mUVPitch), std::tuple(yPitch, uvPitch));
        EXPECT_EQ(std::tuple(buffer.mFormat, buffer.mColorSpace, buffer.mFd),
                  std::tuple(format, 5, 9));
        EXPECT_EQ(C::getFrameSize(w, h, format), frame);
    }
}

TEST(Geometry, PartLists) {
    for (const auto& [name, w, h, s0, o0, s1, o1, s2, o2, s3, o3] :
         table<S, int, int, int, int, int, int, int, int, int, int>("parts.txt")) {
        const Parts parts = {{s0, o0}, {s1, o1}, {s2, o2}, {s3, o3}};
        SCOPED_TRACE(name);
        const C::ColorFormat format = C::getColorFormatFromStr(name);
        EXPECT_EQ(C::getSeparateSize(w, h, format), parts);
        EXPECT_EQ(C::getFrameSize(w, h, format), std::max({s0 + o0, s1 + o1, s2 + o2, s3 + o3}));
    }
    for (const auto f : {C::UNKNOWN, C::NV12, C::NV12_BLK}) {
        EXPECT_EQ(C::getSeparateSize(64, 64, f), Parts());
    }
    EXPECT_EQ(C::getSeparateSize(100000, 100000, C::CPQ), Parts());
}

TEST(Geometry, FramesThatLeaveTheRangeAreRefused) {
    for (int value = 1; value < C::COLOR_FORMAT_COUNT; ++value) {
        const auto format = static_cast<C::ColorFormat>(value);
        for (const auto& [w, h] : {std::pair(100000, 100000), std::pair(INT32_MAX, INT32_MAX),
                                   std::pair(-1, 16), std::pair(16, -1)}) {
            EXPECT_EQ(C::getFrameSize(w, h, format), -1)
                << colorFormatInfo(format).name << ": " << w << " x " << h;
        }
    }
    // The first line too many.
    EXPECT_EQ(C::getFrameSize(32768, 16384, C::RGBA8888), -1);
    // The ten-fold area leaves the range before the frame does.
    EXPECT_GT(C::getFrameSize(16384, 13088, C::NV12_BLK_10BIT_V), 0);
    EXPECT_EQ(C::getFrameSize(16384, 13120, C::NV12_BLK_10BIT_V), -1);
}

}  // namespace
