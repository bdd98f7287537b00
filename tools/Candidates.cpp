#include "Candidates.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <tuple>
#include <utility>

#include "FrameScore.h"
#include "Settings.h"
#include "color/Catalogue.h"

namespace {

using Color = ColorConvert;
using Readings = std::vector<Reading>;

// Returns sizes in use: of video, of screens, of phones held upright and sideways, and of cameras.
// If a format aligns two of them to the same size, the first is taken.
std::vector<FrameSize> sizesInUse() {
    return {{176, 144},   {352, 240},   {352, 288},   {320, 240},   {480, 270},   {480, 320},
            {640, 360},   {640, 480},   {704, 576},   {720, 480},   {720, 576},   {854, 480},
            {960, 540},   {1024, 576},  {1280, 720},  {1440, 1080}, {1920, 1080}, {1920, 1088},
            {2048, 1080}, {2560, 1440}, {3840, 2160}, {4096, 2160}, {7680, 4320}, {8192, 4320},
            {800, 480},   {800, 600},   {1024, 600},  {1024, 768},  {1280, 800},  {1280, 960},
            {1280, 1024}, {1366, 768},  {1440, 900},  {1600, 900},  {1600, 1200}, {1680, 1050},
            {1920, 1200}, {2048, 1536}, {2560, 1600}, {480, 854},   {540, 960},   {720, 1280},
            {720, 1600},  {1080, 1920}, {1080, 2340}, {1080, 2400}, {1440, 2560}, {1440, 3200},
            {2340, 1080}, {2400, 1080}, {3200, 1440}, {2592, 1944}, {3264, 2448}, {4000, 3000},
            {4032, 3024}, {4160, 3120}, {4608, 3456}};
}

// The ranks say how much better one reading must be than another.
constexpr double CLEAR = 1.1;      // to be called clear
constexpr double DOUBTFUL = 1.15;  // to doubt the named one
constexpr double PICTURE = 0.2;    // the score, at most, of a reading that is certainly a picture
constexpr double PLAUSIBLE = 0.7;  // the score, at most, of a reading that makes another doubtful

constexpr int64_t ENOUGH = 16 << 10;  // bytes of a file, at least, to doubt a name by them

constexpr size_t KEPT = 8;  // readings that are scored again by more lines

// Few bands of lines are enough to find the best readings. Many decide between them.
constexpr int64_t LEAST_BANDS = 4;
constexpr int64_t FEW_BANDS = 12;
constexpr int64_t MANY_BANDS = INT64_MAX;

// These are the oddities of sizes.
constexpr double LIKELY = 0.9;  // the name or the options give the size
constexpr double USUAL = 1;     // it is in use
constexpr double OTHER = 1.1;

// Returns sizes of as many pixels that are meant if that size swaps the sides, or if it is off by a
// factor of two and the other one has the shape of a picture.
std::vector<FrameSize> variantsOf(const FrameSize& size) {
    constexpr int MAX_SHAPE = 3;
    std::vector<FrameSize> sizes = {{size.height, size.width}};
    for (const FrameSize& other :
         {FrameSize{size.width * 2, size.height / 2}, FrameSize{size.width / 2, size.height * 2}}) {
        if (other.width <= MAX_SHAPE * other.height && other.height <= MAX_SHAPE * other.width) {
            sizes.push_back(other);
        }
    }
    return sizes;
}

void append(Readings& to, const Readings& more) { to.insert(to.end(), more.begin(), more.end()); }

bool isClear(const Readings& best) {
    return !best.empty() && !best[0].isNoise && !best[0].cutOff &&
           (best.size() == 1 || best[1].isNoise || best[1].rank >= CLEAR * best[0].rank);
}

// If scores differ little, a likely size, fewer frames, and a file that is whole decide.
double rankOf(const Reading& reading) {
    constexpr double PRECISION = 0.02;  // of a score, from one part of a picture to another
    const double rank = (reading.score + PRECISION) * reading.oddity * (reading.cutOff ? 1.5 : 1);
    if (reading.seesEnds == true) {
        return rank * 0.95;
    }
    const auto frames = static_cast<double>(reading.frames + (reading.cutOff ? 1 : 0));
    return rank * (1 + 0.01 * std::log2(frames)) * (reading.seesEnds == false ? 1.05 : 1);
}

// A Searcher tries readings of a file, each once.
class Searcher {
  public:
    // known has the only format, width and height to try. If no format is given, the board's are
    // tried.
    Searcher(const std::string& path, const CommandLineOptions& known)
        : mScorer(path), mKnown(known) {
        const char* board = host::boardPlatform();
        const bool hasBoard = board != nullptr && *board != '\0';
        for (int value = 1; value < Color::COLOR_FORMAT_COUNT; ++value) {
            const auto format = static_cast<Color::ColorFormat>(value);
            if (known.inputFormat == Color::UNKNOWN
                    ? !hasBoard || Color::checkPlatformSupport(format)
                    : known.inputFormat == format) {
                mFormats.push_back(format);
            }
        }
    }

    // Adds a reading to try, if the file holds half a frame or more. Twins are one reading.
    void add(Reading reading, double oddity) {
        const auto& [width, height] = reading.size;
        const bool fitsOptions = (mKnown.width == 0 || mKnown.width == width) &&
                                 (mKnown.height == 0 || mKnown.height == height);
        const bool isHeld = reading.frameSize > 0 && fileSize() >= reading.frameSize / 2;
        const auto format = reading.twin == Color::YV12 ? Color::YV12 : reading.format;
        if (fitsOptions && isHeld &&
            mSeen.insert({format, reading.aligned.width, reading.aligned.height}).second) {
            reading.oddity = oddity;
            mFills = mFills || !reading.cutOff;
            (reading.cutOff && !reading.named ? mCutOff : mNew).push_back(reading);
        }
    }

    void addSize(Color::ColorFormat format, const FrameSize& size, double oddity) {
        const auto [width, height] = Color::getDefaultAlignedSize(size.width, size.height, format);
        add(makeReading(fileSize(), format, size, {width, height}), oddity);
    }

    void addSizes(const std::vector<FrameSize>& sizes, double oddity) {
        for (const FrameSize& size : sizes) {
            for (const Color::ColorFormat format : mFormats) {
                addSize(format, size, oddity);
            }
        }
    }

    // Returns the best readings of each format, with a width of 0.4 to 2.5 times the height, of
    // which some hundred frames or fewer fill the file.
    Readings bestThatFill() {
        constexpr int64_t MAX_FRAMES = 300;
        Readings all;
        for (const Color::ColorFormat format : mFormats) {
            for (int64_t frames = 1; frames <= MAX_FRAMES; ++frames) {
                if (fileSize() % frames == 0) {
                    addSizesOf(format, fileSize() / frames);
                }
            }
            append(all, best(takeNew(), LEAST_BANDS));
        }
        return all;
    }

    // Takes the readings that were not taken before: those whose frames fill the file, and the
    // named one.
    Readings takeNew() { return std::exchange(mNew, {}); }

    // Returns the others, which are cut off.
    const Readings& cutOff() const { return mCutOff; }

    // Returns the best readings, the best first, and the named one. Readings that can't be scored
    // are left out.
    Readings best(const Readings& readings, int64_t maxBands) {
        Readings ranked;
        for (Reading reading : readings) {
            if (mScorer.score(reading, maxBands)) {
                reading.rank = rankOf(reading);
                ranked.push_back(reading);
            }
        }
        std::stable_sort(ranked.begin(), ranked.end(), [](const Reading& a, const Reading& b) {
            return std::tie(a.isNoise, a.rank) < std::tie(b.isNoise, b.rank);
        });
        Readings kept;
        for (size_t i = 0; i < ranked.size(); ++i) {
            ranked[i].place = std::max(ranked[i].place, i + 1);
            if (i < KEPT || ranked[i].named) {
                kept.push_back(ranked[i]);
            }
        }
        return kept;
    }

    // Returns the readings that tell something, which none does if the best one is noise.
    Search finish(const Readings& best) const {
        Search search;
        search.failure = mScorer.failure();
        if (best.empty() || best[0].isNoise || !search.failure.empty()) {
            return search;
        }
        search.isClear = isClear(best);
        for (const Reading& reading : best) {
            // Readings that fill the file come before those that are cut off. If one that is cut
            // off is the best nevertheless, they are left out.
            const bool isHidden = reading.isNoise || (best[0].cutOff && !reading.cutOff);
            if (reading.named || (!isHidden && search.readings.size() < Search::MAX_READINGS)) {
                search.readings.push_back(reading);
            }
        }
        std::stable_partition(search.readings.begin(), search.readings.end(),
                              [](const Reading& reading) { return !reading.cutOff; });
        return search;
    }

    int64_t fileSize() const { return mScorer.fileSize(); }
    bool tried() const { return !mSeen.empty(); }
    bool fills() const { return mFills; }

  private:
    // Adds the sizes of frames of that many bytes. Wider frames and higher ones have more bytes.
    void addSizesOf(Color::ColorFormat format, int64_t frameSize) {
        constexpr int MIN_SIDE = 64;
        constexpr int MAX_SIDE = 8192;  // No frame of such sides is out of range.
        const int stepX = std::max(2, colorFormatInfo(format).widthAlignment);
        const int stepY = std::max(2, colorFormatInfo(format).heightAlignment);
        int height = MAX_SIDE;
        for (int width = MIN_SIDE; width <= MAX_SIDE; width += stepX) {
            while (height > stepY && Color::getFrameSize(width, height, format) > frameSize) {
                height -= stepY;
            }
            const bool isPicture = 2 * width <= 5 * height && 2 * height <= 5 * width;
            if (isPicture && Color::getFrameSize(width, height, format) == frameSize) {
                addSize(format, {width, height}, OTHER);
            }
        }
    }

    FrameScorer mScorer;
    const CommandLineOptions mKnown;
    std::vector<Color::ColorFormat> mFormats;
    std::set<std::tuple<Color::ColorFormat, int, int>> mSeen;  // formats and aligned sizes
    Readings mNew;
    Readings mCutOff;
    bool mFills = false;
};

}  // namespace

Reading makeReading(int64_t fileSize, Color::ColorFormat format, FrameSize size,
                    FrameSize aligned) {
    Reading reading = {format, Color::UNKNOWN, size, aligned};
    // Rows of YV12's chroma planes start at multiples of 16 bytes, and here those of YUV420P do
    // too.
    if (aligned.width % 32 == 0) {
        reading.twin = format == Color::YV12      ? Color::YUV420P
                       : format == Color::YUV420P ? Color::YV12
                                                  : Color::UNKNOWN;
    }
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
    Searcher searcher(path, known);
    searcher.add(named, LIKELY);
    searcher.addSizes(namedSizes, LIKELY);
    searcher.addSizes({{known.width, known.height}}, LIKELY);
    searcher.addSizes(sizesInUse(), USUAL);
    Readings best = searcher.best(searcher.takeNew(), FEW_BANDS);
    if (!best.empty()) {
        for (const FrameSize& size : variantsOf(best[0].size)) {
            searcher.addSize(best[0].format, size, OTHER);
        }
        append(best, searcher.takeNew());
        best = searcher.best(best, MANY_BANDS);
    }
    if (!isClear(best) || best[0].score > PICTURE || best[0].oddity > USUAL) {
        append(best, searcher.best(searcher.bestThatFill(), FEW_BANDS));
        append(best, searcher.best(searcher.cutOff(), FEW_BANDS));
        best = searcher.best(best, MANY_BANDS);
    }
    Search search = searcher.finish(best);
    search.doubted = named.frameSize > 0 && search.isClear;
    search.note =
        !searcher.tried()
            ? "No size was tried. The file is too small for those in use, or none of them has the "
              "given width or height: give -w and -h."
        : search.readings.empty()
            ? "The samples do not tell the format: they all have one value, or look like noise."
        : !searcher.fills()
            ? "No size that was tried fills the file. The last frame is cut off, or the size is "
              "another one: give -w and -h if you know them."
            : "";
    return search;
}

Search checkReading(const std::string& path, const Reading& named) {
    Searcher searcher(path, {});
    searcher.add(named, LIKELY);
    searcher.addSizes({named.size}, LIKELY);
    searcher.addSizes(sizesInUse(), USUAL);
    searcher.addSizes(variantsOf(named.size), OTHER);
    const Readings best = searcher.best(searcher.best(searcher.takeNew(), LEAST_BANDS), FEW_BANDS);
    Search search = searcher.finish(best);
    search.doubted = searcher.fileSize() >= ENOUGH &&
                     std::any_of(search.readings.begin(), search.readings.end(),
                                 [&best](const Reading& reading) {
                                     return reading.named && best[0].score <= PLAUSIBLE &&
                                            reading.rank >= DOUBTFUL * best[0].rank;
                                 });
    return search;
}
