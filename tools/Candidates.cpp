#include "Candidates.h"

#include <cutils/properties.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>
#include <tuple>
#include <utility>

#include "DumpFile.h"
#include "FrameScore.h"
#include "color/Catalogue.h"

namespace {

using Color = ColorConvert;
using Readings = std::vector<Reading>;

// These are sizes in use: of video, of screens, of phones held upright and sideways, and of
// cameras. If a format aligns two of them to the same size, the first is taken.
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

// The ranks say how much better one reading must be than another.
constexpr double CLEAR = 1.1;      // to be called clear
constexpr double DOUBTFUL = 1.15;  // to doubt the named one
constexpr double PICTURE = 0.2;    // the score, at most, of a reading that is certainly a picture
constexpr double PLAUSIBLE = 0.7;  // the score, at most, of a reading that makes another doubtful

constexpr int64_t ENOUGH = 16 << 10;  // bytes of a file, at least, to doubt a name by them

constexpr size_t KEPT = 8;  // readings that are scored again by more lines

// Rows of YV12's chroma planes start at multiples of 16 bytes. If those of YUV420P do too, the two
// formats are twins: they differ in the order of two planes alone.
Color::ColorFormat twinOf(Color::ColorFormat format, int alignedWidth) {
    const bool isAlike = alignedWidth % 32 == 0;
    return isAlike && format == Color::YV12      ? Color::YUV420P
           : isAlike && format == Color::YUV420P ? Color::YV12
                                                 : Color::UNKNOWN;
}

bool isReadByBoard(Color::ColorFormat format) {
    char board[PROPERTY_VALUE_MAX] = {};
    const bool isSet = property_get("ro.board.platform", board, "") > 0;
    return !isSet || Color::checkPlatformSupport(format);
}

// Returns sizes of as many pixels, with the shape of a picture: that size, and those that are meant
// if it swaps the sides, or is off by a factor of two.
std::vector<FrameSize> variantsOf(const FrameSize& size) {
    constexpr int MAX_SHAPE = 3;
    std::vector<FrameSize> sizes = {size, {size.height, size.width}};
    for (const FrameSize& other :
         {FrameSize{size.width * 2, size.height / 2}, FrameSize{size.width / 2, size.height * 2}}) {
        if (other.width <= MAX_SHAPE * other.height && other.height <= MAX_SHAPE * other.width) {
            sizes.push_back(other);
        }
    }
    return sizes;
}

// A Collection has the readings of a file that are tried, each once. The file holds half a frame of
// each of them, or more.
class Collection {
  public:
    // known has the only format, width and height to try. If no format is given, the board's are
    // tried.
    Collection(int64_t fileSize, const CommandLineOptions& known)
        : mFileSize(fileSize), mKnown(known) {
        for (int value = 1; value < Color::COLOR_FORMAT_COUNT; ++value) {
            const auto format = static_cast<Color::ColorFormat>(value);
            if (known.inputFormat == Color::UNKNOWN ? isReadByBoard(format)
                                                    : known.inputFormat == format) {
                mFormats.push_back(format);
            }
        }
    }

    void add(const Reading& reading) {
        const auto idOf = [&](Color::ColorFormat format) {
            return std::tuple(format, reading.aligned.width, reading.aligned.height);
        };
        if ((mKnown.width == 0 || mKnown.width == reading.size.width) &&
            (mKnown.height == 0 || mKnown.height == reading.size.height) && reading.frameSize > 0 &&
            mFileSize >= reading.frameSize / 2 && mSeen.count(idOf(reading.twin)) == 0 &&
            mSeen.insert(idOf(reading.format)).second) {
            mFills = mFills || !reading.cutOff;
            (reading.cutOff && !reading.named ? mCutOff : mFirst).push_back(reading);
        }
    }

    template <typename Sizes>
    void addSizes(const Sizes& sizes) {
        for (const FrameSize& size : sizes) {
            for (const Color::ColorFormat format : mFormats) {
                add(makeReading(mFileSize, format, size));
            }
        }
    }

    // Adds each size of the format, with a width of 0.4 to 2.5 times the height, of which some
    // hundred frames or fewer fill the file.
    void addSizesThatFill(Color::ColorFormat format) {
        constexpr int64_t MAX_FRAMES = 300;
        for (int64_t frames = 1; frames <= MAX_FRAMES; ++frames) {
            if (mFileSize % frames == 0) {
                addSizesOf(format, mFileSize / frames);
            }
        }
    }

    const std::vector<Color::ColorFormat>& formats() const { return mFormats; }

    // Takes the readings that were not taken before: those whose frames fill the file, and the
    // named one.
    Readings take() { return std::exchange(mFirst, {}); }

    // Returns the others, which are cut off.
    const Readings& cutOff() const { return mCutOff; }

    bool tried() const { return !mSeen.empty(); }
    bool fills() const { return mFills; }

  private:
    // Adds the sizes of frames of that many bytes. Wider frames and higher ones have more bytes.
    void addSizesOf(Color::ColorFormat format, int64_t frameSize) {
        constexpr int MIN_SIDE = 64;
        constexpr int MAX_SIDE = 8192;
        const int stepX = std::max(2, colorFormatInfo(format).widthAlignment);
        const int stepY = std::max(2, colorFormatInfo(format).heightAlignment);
        const auto bytesOf = [&](int width, int height) {
            const int bytes = Color::getFrameSize(width, height, format);
            return bytes < 0 ? INT64_MAX : int64_t{bytes};
        };
        int height = MAX_SIDE;
        for (int width = MIN_SIDE; width <= MAX_SIDE; width += stepX) {
            while (height > stepY && bytesOf(width, height) > frameSize) {
                height -= stepY;
            }
            const bool isPicture = 2 * width <= 5 * height && 2 * height <= 5 * width;
            if (isPicture && bytesOf(width, height) == frameSize) {
                add(makeReading(mFileSize, format, {width, height}));
            }
        }
    }

    const int64_t mFileSize;
    const CommandLineOptions mKnown;
    std::vector<Color::ColorFormat> mFormats;
    std::set<std::tuple<Color::ColorFormat, int, int>> mSeen;  // formats and aligned sizes
    Readings mFirst;
    Readings mCutOff;
    bool mFills = false;
};

// Scores readings of one file. likelySizes are those that its name or options give.
class Ranking {
  public:
    Ranking(FrameScorer& scorer, std::vector<FrameSize> likelySizes)
        : mScorer(scorer), mLikelySizes(std::move(likelySizes)) {}

    // Returns the best readings, the best first, at most count and the named one. Readings that
    // can't be scored are left out.
    Readings best(const Readings& readings, ScoredLines scored, size_t count) const {
        Readings ranked;
        for (Reading reading : readings) {
            const auto score = mScorer.score(scored, reading.format, reading.aligned.width,
                                             reading.aligned.height);
            if (score) {
                reading.score = score->score;
                reading.isNoise = score->isNoise;
                reading.isTransparent = score->isTransparent;
                reading.rank = rankOf(reading, *score);
                ranked.push_back(reading);
            }
        }
        std::stable_sort(ranked.begin(), ranked.end(), [](const Reading& a, const Reading& b) {
            return std::tie(a.isNoise, a.rank) < std::tie(b.isNoise, b.rank);
        });
        Readings kept;
        for (size_t i = 0; i < ranked.size(); ++i) {
            ranked[i].place = std::max(ranked[i].place, i + 1);
            if (i < count || ranked[i].named) {
                kept.push_back(ranked[i]);
            }
        }
        return kept;
    }

    // Returns true if the reading has one of the sizes that are tried first.
    bool isUsual(const Reading& reading) const {
        return isSizeOf(reading, mLikelySizes) || isSizeOf(reading, SIZES);
    }

  private:
    // If scores differ little, a likely size, fewer frames, and a file that is whole decide.
    double rankOf(const Reading& reading, const FrameScore& score) const {
        constexpr double PRECISION = 0.02;  // of a score, from one part of a picture to another
        double rank = reading.score + PRECISION;
        rank *= isSizeOf(reading, mLikelySizes) ? 0.9 : isSizeOf(reading, SIZES) ? 1 : 1.1;
        if (score.frameEnds == FrameEnds::SEEN) {
            rank *= 0.95;
        } else {
            const auto frames = static_cast<double>(reading.frames + (reading.cutOff ? 1 : 0));
            rank *=
                (1 + 0.01 * std::log2(frames)) * (score.frameEnds == FrameEnds::MISSING ? 1.05 : 1);
        }
        return rank * (reading.cutOff ? 1.5 : 1);
    }

    template <typename Sizes>
    static bool isSizeOf(const Reading& reading, const Sizes& sizes) {
        return std::any_of(std::begin(sizes), std::end(sizes), [&](const FrameSize& size) {
            return Color::getDefaultAlignedSize(size.width, size.height, reading.format) ==
                   std::pair(reading.aligned.width, reading.aligned.height);
        });
    }

    FrameScorer& mScorer;
    const std::vector<FrameSize> mLikelySizes;
};

void append(Readings& to, const Readings& more) { to.insert(to.end(), more.begin(), more.end()); }

bool isClear(const Readings& best) {
    return !best.empty() && !best[0].isNoise && !best[0].cutOff &&
           (best.size() == 1 || best[1].isNoise || best[1].rank >= CLEAR * best[0].rank);
}

// Takes over the readings that tell something, which none does if the best one is noise.
void finish(const Readings& best, const FrameScorer& scorer, Search& search) {
    search.failure = scorer.failure();
    if (best.empty() || best[0].isNoise || !search.failure.empty()) {
        return;
    }
    search.isClear = isClear(best);
    for (const Reading& reading : best) {
        // Readings that fill the file come before those that are cut off. If one that is cut off is
        // the best nevertheless, they are left out.
        const bool isHidden = reading.isNoise || (best[0].cutOff && !reading.cutOff);
        if (reading.named || (!isHidden && search.readings.size() < Search::MAX_READINGS)) {
            search.readings.push_back(reading);
        }
    }
    std::stable_partition(search.readings.begin(), search.readings.end(),
                          [](const Reading& reading) { return !reading.cutOff; });
}

}  // namespace

Reading makeReading(int64_t fileSize, Color::ColorFormat format, FrameSize size) {
    const auto [width, height] = Color::getDefaultAlignedSize(size.width, size.height, format);
    return makeReading(fileSize, format, size, {width, height});
}

Reading makeReading(int64_t fileSize, Color::ColorFormat format, FrameSize size,
                    FrameSize aligned) {
    Reading reading;
    reading.format = format;
    reading.size = size;
    reading.aligned = aligned;
    reading.twin = twinOf(format, aligned.width);
    // Some formats have headers of a fixed size, even for a frame without lines.
    const bool hasPixels = aligned.width > 0 && aligned.height > 0;
    reading.frameSize = hasPixels ? Color::getFrameSize(aligned.width, aligned.height, format) : 0;
    if (reading.frameSize > 0) {
        reading.frames = fileSize / reading.frameSize;
        reading.cutOff = fileSize % reading.frameSize != 0;
    }
    return reading;
}

std::ostream& operator<<(std::ostream& stream, const FrameSize& size) {
    return stream << size.width << " x " << size.height;
}

std::ostream& operator<<(std::ostream& stream, const Reading& reading) {
    stream << colorFormatInfo(reading.format).name;
    if (reading.twin != Color::UNKNOWN) {
        stream << " or " << colorFormatInfo(reading.twin).name;
    }
    return stream << ", " << reading.size;
}

Search searchReadings(const std::string& path, const CommandLineOptions& known,
                      const std::vector<FrameSize>& namedSizes, const Reading& named) {
    Search search;
    DumpFile file(path);
    FrameScorer scorer(file);
    std::vector<FrameSize> likelySizes = namedSizes;
    likelySizes.push_back({known.width, known.height});
    const Ranking ranking(scorer, likelySizes);
    Collection readings(file.size(), known);
    readings.add(named);
    readings.addSizes(likelySizes);
    readings.addSizes(SIZES);
    // Few lines are enough to find the best readings. Many lines decide between them.
    Readings best = ranking.best(readings.take(), ScoredLines::FEW, KEPT);
    if (!best.empty()) {
        for (const FrameSize& size : variantsOf(best[0].size)) {
            readings.add(makeReading(file.size(), best[0].format, size));
        }
        append(best, readings.take());
        best = ranking.best(best, ScoredLines::MANY, KEPT);
    }
    if (!isClear(best) || best[0].score > PICTURE || !ranking.isUsual(best[0])) {
        Readings more;
        for (const Color::ColorFormat format : readings.formats()) {
            readings.addSizesThatFill(format);
            append(more, ranking.best(readings.take(), ScoredLines::LEAST, KEPT));
        }
        append(best, ranking.best(more, ScoredLines::FEW, KEPT));
        append(best, ranking.best(readings.cutOff(), ScoredLines::FEW, KEPT));
        best = ranking.best(best, ScoredLines::MANY, KEPT);
    }
    finish(best, scorer, search);
    search.doubted = named.frameSize > 0 && search.isClear;
    search.note =
        !readings.tried()
            ? "No size was tried. The file is too small for those in use, or none of them has the "
              "given width or height: give -w and -h."
        : search.readings.empty()
            ? "The samples do not tell the format: they all have one value, or look like noise."
        : !readings.fills()
            ? "No size that was tried fills the file. The last frame is cut off, or the size is "
              "another one: give -w and -h if you know them."
            : "";
    return search;
}

Search checkReading(const std::string& path, const Reading& named) {
    Search search;
    DumpFile file(path);
    FrameScorer scorer(file);
    const Ranking ranking(scorer, {named.size});
    Collection readings(file.size(), {});
    readings.add(named);
    readings.addSizes(variantsOf(named.size));
    readings.addSizes(SIZES);
    Readings best = ranking.best(readings.take(), ScoredLines::LEAST, KEPT);
    best = ranking.best(best, ScoredLines::FEW, KEPT);
    const auto found = std::find_if(best.begin(), best.end(),
                                    [](const Reading& reading) { return reading.named; });
    if (found != best.end() && !best[0].isNoise) {
        search.doubted = file.size() >= ENOUGH && best[0].score <= PLAUSIBLE &&
                         found->rank >= DOUBTFUL * best[0].rank;
    }
    finish(best, scorer, search);
    return search;
}
