// These tests check the catalogue of formats and color spaces: names, sizes of planes and frames,
// boards.
#include <stdlib.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "TestFiles.h"
#include "color/Catalogue.h"
#include "color/ColorConvert.h"

namespace {

using Color = ColorConvert;
using Parts = std::vector<std::pair<int, int>>;

TEST(Catalogue, NamesOfColorSpaces) {
    int value = 0;
    for (const auto& [name] : table<std::string>("spaces.txt")) {
        EXPECT_EQ(Color::getColorSpaceFromStr(name), value++) << name;
    }
    EXPECT_EQ(value, Color::COLOR_SPACE_COUNT)
        << "a color space has no row in tests/data/spaces.txt";
    for (const char* name : {"bt709_full", "BT709", ""}) {
        EXPECT_EQ(Color::getColorSpaceFromStr(name), 0) << name;
    }
}

// Returns true if the table's list of boards has the board. "*" means all boards, and "!" means all
// but those that follow.
bool reads(std::string boards, const std::string& board) {
    const bool except = boards[0] == '!';
    boards = "," + boards.substr(except ? 1 : 0) + ",";
    return boards == ",*," || (boards.find("," + board + ",") != std::string::npos) != except;
}

TEST(Catalogue, RowsOfFormats) {
    std::set<std::string> boards = {"", "VX2415", "vx2415 ", "vx2335", "vx2105"};
    for (const ColorFormatInfo& info : colorFormatInfos) {
        for (const auto* board = info.support.boards; board != nullptr && *board != nullptr;) {
            boards.insert(*board++);
        }
    }
    int value = 0;
    for (const auto& [name, output, extension, w, h, separate, readers] :
         table<std::string, std::string, std::string, int, int, std::string, std::string>(
             "formats.txt")) {
        SCOPED_TRACE(name);
        const Color::ColorFormat format = Color::getColorFormatFromStr(name);
        EXPECT_EQ(format, ++value);
        EXPECT_EQ(Color::getDefaultOutputFormat(format), Color::getColorFormatFromStr(output));
        EXPECT_EQ(Color::getExtensionName(format), extension);
        EXPECT_EQ(Color::isSeparate(format), separate == "separate");
        EXPECT_EQ(Color::getDefaultAlignedSize(2 * w + 1, 4 * h + 1, format),
                  std::pair(2 * w + w, 4 * h + h));
        std::istringstream listed(readers);
        for (std::string board; std::getline(listed, board, ',');) {
            boards.insert(board.substr(board[0] == '!' ? 1 : 0));
        }
        for (const std::string& board : boards) {
            setenv("VEX_HOST_BOARD_PLATFORM", board.c_str(), 1);
            EXPECT_EQ(Color::checkPlatformSupport(format), reads(readers, board))
                << "on '" << board << "'";
        }
    }
    EXPECT_EQ(value + 1, Color::COLOR_FORMAT_COUNT);
    for (const auto none :
         {Color::UNKNOWN, Color::COLOR_FORMAT_COUNT, static_cast<Color::ColorFormat>(-1)}) {
        EXPECT_EQ(Color::getDefaultOutputFormat(none), Color::NV12);
        EXPECT_EQ(Color::getExtensionName(none), "yuv");
        EXPECT_FALSE(Color::isSeparate(none));
        EXPECT_TRUE(Color::checkPlatformSupport(none));
        EXPECT_EQ(Color::getFrameSize(16, 16, none), 0);
    }
    unsetenv("VEX_HOST_BOARD_PLATFORM");
}

// Names the tables in which a new format still needs a row.
TEST(Catalogue, TablesOfTheTestsHoldEveryFormat) {
    for (const char* file : {"formats.txt", "planes.txt", "layouts.txt", "parts.txt"}) {
        const std::string rows = readFile(std::string(TEST_DATA) + "/" + file);
        for (const ColorFormatInfo& info : colorFormatInfos) {
            const bool wanted = info.value != Color::UNKNOWN &&
                                (info.parts != nullptr || file != std::string("parts.txt"));
            EXPECT_TRUE(!wanted ||
                        rows.find(std::string("\n") + info.name + " ") != std::string::npos)
                << info.name << " has no row in tests/data/" << file;
        }
    }
}

TEST(Geometry, AlignedSizes) {
    EXPECT_EQ(Color::getDefaultAlignedSize(1920, 1080, Color::UNKNOWN), std::pair(0, 0));
    EXPECT_EQ(Color::getDefaultAlignedSize(INT32_MAX, 1, Color::NV12), std::pair(-1, 2));
    for (const auto& [value, to, up] : table<int, int, int64_t>("roundings.txt")) {
        EXPECT_EQ(Color::roundUp(value, to), up) << value << ", " << to;
    }
}

TEST(Geometry, PlanesPitchesAndFrames) {
    for (const auto& [name, w, h, frame, yPitch, uvPitch, first, second, third] :
         table<std::string, int, int, int, int, int, uint32_t, uint32_t, uint32_t>("planes.txt")) {
        SCOPED_TRACE(name + " " + std::to_string(w));
        const std::vector<uint32_t> sizes = {first, second, third};
        const Color::ColorFormat format = Color::getColorFormatFromStr(name);
        Color::ColorConvertBuffer buffer = {format, 5, w, h, 9, {1, 2, 3}, 4, 5, 6};
        colorFormatInfo(format).calculate(buffer);
        EXPECT_EQ(std::vector(buffer.mPlaneSize, buffer.mPlaneSize + 3), sizes);
        EXPECT_EQ(buffer.mPlaneCount, 3 - std::count(sizes.begin(), sizes.end(), 0));
        EXPECT_EQ(std::tuple(buffer.mYPitch, buffer.mUVPitch), std::tuple(yPitch, uvPitch));
        EXPECT_EQ(std::tuple(buffer.mFormat, buffer.mColorSpace, buffer.mFd),
                  std::tuple(format, 5, 9));
        EXPECT_EQ(Color::getFrameSize(w, h, format), frame);
    }
}

TEST(Geometry, PartLists) {
    for (const auto& [name, w, h, s0, o0, s1, o1, s2, o2, s3, o3] :
         table<std::string, int, int, int, int, int, int, int, int, int, int>("parts.txt")) {
        const Parts parts = {{s0, o0}, {s1, o1}, {s2, o2}, {s3, o3}};
        SCOPED_TRACE(name);
        const Color::ColorFormat format = Color::getColorFormatFromStr(name);
        EXPECT_EQ(Color::getSeparateSize(w, h, format), parts);
        EXPECT_EQ(Color::getFrameSize(w, h, format),
                  std::max({s0 + o0, s1 + o1, s2 + o2, s3 + o3}));
    }
    for (const auto f : {Color::UNKNOWN, Color::NV12, Color::NV12_BLK}) {
        EXPECT_EQ(Color::getSeparateSize(64, 64, f), Parts());
    }
    EXPECT_EQ(Color::getSeparateSize(100000, 100000, Color::CPQ), Parts());
}

TEST(Geometry, FramesThatLeaveTheRangeAreRefused) {
    for (int value = 1; value < Color::COLOR_FORMAT_COUNT; ++value) {
        const auto format = static_cast<Color::ColorFormat>(value);
        for (const auto& [w, h] : {std::pair(100000, 100000), std::pair(INT32_MAX, INT32_MAX),
                                   std::pair(-1, 16), std::pair(16, -1)}) {
            EXPECT_EQ(Color::getFrameSize(w, h, format), -1)
                << colorFormatInfo(format).name << ": " << w << " x " << h;
        }
    }
    // This is one line more than fits.
    EXPECT_EQ(Color::getFrameSize(32768, 16384, Color::RGBA8888), -1);
    // The plane rule multiplies the area by ten, which leaves the range before the frame does.
    EXPECT_GT(Color::getFrameSize(16384, 13088, Color::NV12_BLK_10BIT_V), 0);
    EXPECT_EQ(Color::getFrameSize(16384, 13120, Color::NV12_BLK_10BIT_V), -1);
}

}  // namespace
