#include "Candidates.h"

#include <cutils/properties.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <tuple>

#include "FrameScore.h"
#include "color/Catalogue.h"
#include "fileutils/FileUtils.h"
#include "memory/DmabufMemory.h"

namespace {

using Color = ColorConvert;

struct FrameSize {
    int width;   // pixels
    int height;  // lines
};

// Sizes in use, of two that a format aligns to the same size the first: of video, of screens, of
// phones held upright and sideways, and of cameras.
constexpr FrameSize SIZES[] = {
    {176, 144},   {352, 240},   {352, 288},   {320, 240},   {480, 270},   {480, 320},
    {640, 360},   {640, 480},   {704, 576},   {720, 480},   {720, 576},   {854, 480},
    {960, 540},   {1024, 576},  {1280, 720},  {1440, 1080}, {1920, 1080}, {1920, 1088},
    {2048, 1080}, {2560, 1440}, {3840, 2160}, {4096, 2160}, {7680, 4320}, {8192, 4320},
    {800, 480},   {800, 600},   {1024, 600},  {1024, 768},  {1280, 800},  {1280, 960},
    {1280, 1024}, {1366, 768},  {1440, 900},  {1600, 900},  {1600, 1200}, {1680, 1050},
    {1920, 1200}, {2048, 1536}, {2560, 1600}, {480, 854},   {540, 960},   {720, 1280},
    {720, 1600},  {1080, 1920}, {1080, 2340}, {1080, 2400}, {1440, 2560}, {1440, 3200},
    {2340, 1080}, {2400, 1080}, {3200, 1440}, {2592, 1944}, {3264, 2448}, {4000, 3000},
    {4032, 3024}, {4160, 3120}, {4608, 3456}};

constexpr size_t MAX_CANDIDATES = 5;
constexpr double PICTURE = 0.2;  // at most, the score of a reading that is certainly right

// Rows of V, U and Y of YV12 start at multiples of 16 bytes. Where those of YUV420P do too, the two
// formats differ in the order of U and V alone.
bool isLikeYuv420p(int width) { return width % 32 == 0; }

// A format and size that the file could have.
struct Reading {
    Color::ColorFormat format;
    FrameSize named;
    FrameSize aligned;
    int frameSize;  // bytes
    FrameScore score = {};
};

bool isReadByBoard(Color::ColorFormat format) {
    char board[PROPERTY_VALUE_MAX] = {};
    const bool isSet = property_get("ro.board.platform", board, "") > 0;
    return !isSet || Color::checkPlatformSupport(format);
}

std::vector<FrameSize> wantedSizes(const CommandLineOptions& known, FrameSize named) {
    if (known.width > 0 && known.height > 0) {
        return {{known.width, known.height}};
    }
    std::vector<FrameSize> sizes;
    if (named.width > 0 && named.height > 0) {
        sizes.push_back(named);
    }
    for (const FrameSize& size : SIZES) {
        if ((known.width == 0 || known.width == size.width) &&
            (known.height == 0 || known.height == size.height)) {
            sizes.push_back(size);
        }
    }
    return sizes;
}

// All readings of which the file holds at least half a frame.
std::vector<Reading> findReadings(int64_t fileSize, const CommandLineOptions& known,
                                  FrameSize named) {
    std::vector<Reading> readings;
    std::set<std::tuple<int, int, int>> seen;  // formats and aligned sizes
    for (const FrameSize& size : wantedSizes(known, named)) {
        for (int value = 1; value < Color::COLOR_FORMAT_COUNT; ++value) {
            const auto format = static_cast<Color::ColorFormat>(value);
            const bool wanted = known.inputFormat == format ||
                                (known.inputFormat == Color::UNKNOWN && isReadByBoard(format));
            const auto [width, height] =
                Color::getDefaultAlignedSize(size.width, size.height, format);
            const int frameSize = Color::getFrameSize(width, height, format);
            // YV12 stands for both.
            const bool isDouble = format == Color::YUV420P && isLikeYuv420p(width) &&
                                  known.inputFormat == Color::UNKNOWN;
            if (wanted && !isDouble && frameSize > 0 && fileSize >= frameSize / 2 &&
                seen.insert({format, width, height}).second) {
                readings.push_back({format, size, {width, height}, frameSize});
            }
        }
    }
    return readings;
}

// Where samples say little, the more likely of two readings comes first: the more common format,
// fewer and larger frames, and a file that is whole or lacks less of its last frame.
double handicap(const Reading& reading, int64_t fileSize) {
    const double frames = static_cast<double>(fileSize) / reading.frameSize;
    const double missing = 1 - frames / std::ceil(frames);
    const bool rare = reading.format == Color::YV12 || reading.format == Color::YUV420P;
    return (rare ? 1.005 : 1) * (1 + 0.01 * std::log2(std::ceil(frames))) *
           (missing > 0 ? 1.5 + missing : 1);
}

using Readings = std::vector<Reading>;

// Scores readings of the first span bytes of a file and returns the best, the best first, without
// those that say nothing.
class Ranking {
  public:
    Ranking(const std::string& path, int64_t fileSize, int64_t span)
        : mPath(path), mFileSize(fileSize), mSpan(span) {}

    Readings best(const Readings& readings, ScoredLines scored) const {
        Readings telling;
        for (Reading reading : readings) {
            const auto score = scoreFrames(mPath, mSpan, scored, reading.format,
                                           reading.aligned.width, reading.aligned.height);
            if (score) {
                reading.score = *score;
                telling.push_back(reading);
            }
        }
        const auto rank = [this](const Reading& reading) {
            return reading.score.score * handicap(reading, mFileSize);
        };
        std::stable_sort(telling.begin(), telling.end(),
                         [&](const Reading& a, const Reading& b) { return rank(a) < rank(b); });
        telling.resize(std::min(telling.size(), MAX_CANDIDATES));
        return telling;
    }

  private:
    const std::string& mPath;
    const int64_t mFileSize;
    const int64_t mSpan;
};

// The text as one word of a shell command.
std::string quote(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return quoted + "'";
}

}  // namespace

Search rankCandidates(const std::string& path, const CommandLineOptions& known, int namedWidth,
                      int namedHeight) {
    std::error_code error;
    const auto fileSize = static_cast<int64_t>(std::filesystem::file_size(path, error));
    Readings whole = findReadings(fileSize, known, {namedWidth, namedHeight});
    if (whole.empty()) {
        return {{}, false};
    }
    const auto largest = std::max_element(
        whole.begin(), whole.end(),
        [](const Reading& a, const Reading& b) { return a.frameSize < b.frameSize; });
    const Ranking ranking(path, fileSize, std::min<int64_t>(fileSize, largest->frameSize));
    Readings cutOff;
    const auto isCutOff = [fileSize](const Reading& reading) {
        return fileSize % reading.frameSize != 0;
    };
    std::copy_if(whole.begin(), whole.end(), std::back_inserter(cutOff), isCutOff);
    whole.erase(std::remove_if(whole.begin(), whole.end(), isCutOff), whole.end());

    // Few lines are enough to find the best five of each; many decide between them.
    Readings best = ranking.best(whole, ScoredLines::FEW);
    if (best.empty() || best.front().score.score > PICTURE) {
        const Readings more = ranking.best(cutOff, ScoredLines::FEW);
        best.insert(best.end(), more.begin(), more.end());
    }
    best = ranking.best(best, ScoredLines::MANY);
    Search search = {{}, true};
    for (const Reading& reading : best) {
        if (best.front().score.isNoise) {
            break;
        }
        const bool both = reading.format == Color::YV12 && isLikeYuv420p(reading.aligned.width);
        if (!reading.score.isNoise) {
            search.candidates.push_back({reading.format, both ? Color::YUV420P : Color::UNKNOWN,
                                         reading.named.width, reading.named.height,
                                         fileSize / reading.frameSize, isCutOff(reading)});
        }
    }
    return search;
}

std::string commandFor(const Candidate& candidate, const std::string& path) {
    const ColorFormatInfo& info = colorFormatInfo(candidate.format);
    std::string board;
    if (!Color::checkPlatformSupport(candidate.format)) {
        board = std::string("VEX_HOST_BOARD_PLATFORM=") + info.support.boards[0] + " ";
    }
    const std::string width = std::to_string(candidate.width);
    const std::string height = std::to_string(candidate.height);
    const std::string command = board + "VexConverter -i " + quote(path) + " -o FOLDER ";
    if (info.parts == nullptr) {
        return command + "-w " + width + " -h " + height + " -f " + info.name;
    }
    // Options take no format of part files, so a rule says that these frames are whole.
    return R"(echo '[{"Name": "whole frames", "Description": "", "Pattern": "")"
           R"(, "WidthIndex": -1, "HeightIndex": -1, "ColorFormatIndex": -1)"
           R"(, "SeparateStringIndex": -1, "DefaultWidth": )" +
           width + R"(, "DefaultHeight": )" + height + R"(, "DefaultWidthAlignment": )" +
           std::to_string(info.widthAlignment) + R"(, "DefaultHeightAlignment": )" +
           std::to_string(info.heightAlignment) + R"(, "DefaultColorFormat": ")" + info.name +
           R"(", "ColorFormatPair": []}]' >whole-frames.json && )" + command +
           "-c whole-frames.json";
}

bool writePicture(const Candidate& candidate, const std::string& path, const std::string& stem) {
    const auto [width, height] =
        Color::getDefaultAlignedSize(candidate.width, candidate.height, candidate.format);
    const int size = Color::getFrameSize(width, height, candidate.format);
    const int pictureSize = Color::getFrameSize(width, height, Color::RGBA8888);
    if (pictureSize < 0) {
        return false;
    }
    DmabufMemory frame(size, DeviceMemory::NO_FD);
    DmabufMemory picture(pictureSize, DeviceMemory::NO_FD);
    if (frame.data() == nullptr || picture.data() == nullptr) {
        return false;
    }
    std::fill_n(frame.data(), size, static_cast<unsigned char>(0));
    FileUtils::readFromFile(path, frame.data(), size, size, 0);
    const Color::ColorConvertConfig config = {
        {candidate.format, Color::BT601_LIMIT, width, height, frame.getFd()},
        {Color::RGBA8888, Color::BT601_LIMIT, width, height, picture.getFd()}};
    const std::string name = stem + "_" + colorFormatInfo(candidate.format).name + "_" +
                             std::to_string(candidate.width) + "x" +
                             std::to_string(candidate.height) + ".png";
    return ColorConvert().convertFrame(config) == 0 &&
           FileUtils::writeToPNG(name, width, height, picture.data(), 4) == 1;
}
