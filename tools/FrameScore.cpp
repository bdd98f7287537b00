#include "FrameScore.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <numeric>
#include <vector>

#include "Log.h"

namespace {

using Color = ColorConvert;

constexpr double NOISE = 0.85;  // at least, the cost of neighbors as a share of that of any samples
constexpr int BUFFER_SIZE = 12 << 20;  // bytes

// Returns the lines of a band, which are at least two rows of blocks, or a few rows.
int bandLinesOf(const FrameGeometry& frame) {
    return std::min(frame.buffer.mHeight, frame.layout.planes[0].isLinear() ? 16 : 64);
}

// Returns how many bands are scored at most.
int64_t maxBandsOf(const FrameGeometry& frame, ScoredLines scored) {
    constexpr int64_t MAX_SAMPLES = 2 << 20;  // of luma, or pixels
    const int64_t bands =
        std::max<int64_t>(2, MAX_SAMPLES / frame.buffer.mWidth / bandLinesOf(frame));
    return scored == ScoredLines::LEAST ? std::min<int64_t>(4, bands)
           : scored == ScoredLines::FEW ? std::min<int64_t>(12, bands)
                                        : bands;
}

// Returns the bytes of this many lines of the frame in a plane, which has rows or rows of blocks.
int64_t bytesOf(const FrameGeometry& frame, size_t plane, int lines) {
    const host::PlaneLayout& layout = frame.layout.planes[plane];
    const int64_t rows = layout.rows(lines);
    if (layout.isLinear()) {
        return rows * (plane == 0 ? frame.buffer.mYPitch : frame.buffer.mUVPitch);
    }
    const int64_t blocks =
        layout.samplesPerRow(frame.layout.format, frame.buffer.mWidth) / layout.blockWidth;
    return rows / layout.blockHeight * blocks * layout.blockBytes;
}

// HeldBands are the bands of a plane that a file holds.
struct HeldBands {
    int64_t perFrame;
    int64_t frames;
    int64_t all() const { return perFrame * frames; }
};

HeldBands heldBands(const FrameGeometry& frame, size_t plane, int64_t fileSize, int bandLines) {
    const int64_t bytes = std::max<int64_t>(1, bytesOf(frame, plane, bandLines));
    const int64_t held = std::max<int64_t>(0, fileSize - frame.offsets.planes[plane]) / bytes;
    return {std::min<int64_t>(held, frame.buffer.mHeight / bandLines),
            std::max<int64_t>(1, fileSize / frame.size)};
}

// Returns the number of bands to score, which is at most count, and 0 if the file holds less than a
// third of a plane.
int countBands(const FrameGeometry& frame, int64_t fileSize, int bandLines, int64_t count) {
    for (size_t i = 0; i < static_cast<size_t>(frame.layout.planeCount); ++i) {
        const HeldBands held = heldBands(frame, i, fileSize, bandLines);
        const bool enough = held.perFrame * 3 >= frame.buffer.mHeight / bandLines;
        count = enough ? std::min(count, held.all()) : 0;
    }
    // Heights of Lumo are multiples of two bands.
    return static_cast<int>(count < 2 ? count : count / 2 * 2);
}

// The cost of the difference of two samples, of at most 10 bits each, is a number of bits. Its unit
// is 1 / COST_UNIT bit.
constexpr int COST_UNIT = 1024;
int costOf(int a, int b) {
    static const auto TABLE = [] {
        std::array<int, 1024> costs = {};
        for (size_t i = 0; i < costs.size(); ++i) {
            costs[i] =
                static_cast<int>(std::lround(std::log2(1.0 + static_cast<double>(i)) * COST_UNIT));
        }
        return costs;
    }();
    return TABLE[static_cast<size_t>(std::abs(a - b))];
}

// Returns the sum of the costs of count pairs of neighbors, or of samples of any two rows.
template <typename Sample>
int64_t costOfRows(const Sample* row, const Sample* other, int64_t count) {
    return std::inner_product(row, row + count, other, INT64_C(0), std::plus<>(), costOf);
}

// A Component is one of a linear frame: luma, Cb, Cr, a color or alpha.
struct Component {
    int width;  // samples
    int lines;
    int perUnit;  // samples of the stored plane to the next one of this component
    std::vector<uint16_t> samples;
};

// Stored says where a component is stored. A sample has up to 10 bits of a word of wordBytes bytes.
struct Stored {
    const unsigned char* first;
    size_t wordBytes;
    size_t step;  // bytes to the next sample
    int shift;    // number of lower bits in the word
};

// The type of the word is fixed, because a copy of a variable number of bytes takes several times
// as long.
template <typename Word>
void unpackWords(const Stored& stored, std::vector<uint16_t>& samples) {
    const unsigned char* from = stored.first;
    for (uint16_t& sample : samples) {
        Word word = 0;
        memcpy(&word, from, sizeof word);
        sample = static_cast<uint16_t>(word >> stored.shift & 0x3FF);
        from += stored.step;
    }
}

Component unpack(const Stored& stored, int width, int lines, int perUnit) {
    Component component = {width, lines, perUnit, {}};
    component.samples.resize(static_cast<size_t>(width) * static_cast<size_t>(lines));
    const auto unpackAll = stored.wordBytes == 1   ? unpackWords<uint8_t>
                           : stored.wordBytes == 2 ? unpackWords<uint16_t>
                                                   : unpackWords<uint32_t>;
    unpackAll(stored, component.samples);
    return component;
}

// unusedBits is the number of lowest bits of 16-bit words that are no part of a sample.
std::vector<Component> componentsOf(host::LinearFormat format, int width, int lines,
                                    const unsigned char* bytes, int unusedBits) {
    std::vector<Component> all;
    const auto size = static_cast<size_t>(host::columnBytes(format));
    if (isYuv(format)) {
        const int shift = size == 2 ? unusedBits : 0;
        const unsigned char* chroma =
            bytes + static_cast<size_t>(width) * static_cast<size_t>(lines) * size;
        all.push_back(unpack({bytes, size, size, shift}, width, lines, 1));
        for (const unsigned char* first : {chroma, chroma + size}) {
            all.push_back(unpack({first, size, 2 * size, shift}, width / 2, lines / 2, 2));
        }
    } else {
        const bool isDeep = format == host::LinearFormat::RGB10_A2;
        for (size_t i = 0; i < size; ++i) {
            const Stored stored = isDeep ? Stored{bytes, size, size, static_cast<int>(10 * i)}
                                         : Stored{bytes + i, 1, size, 0};
            all.push_back(unpack(stored, width, lines, static_cast<int>(size)));
        }
    }
    return all;
}

// A Mean is the mean cost of pairs of samples.
struct Mean {
    int64_t cost = 0;
    int64_t count = 0;

    void add(int64_t someCost, int64_t someCount) {
        cost += someCost;
        count += someCount;
    }
    double value() const {
        return count == 0 ? 0 : static_cast<double>(cost) / static_cast<double>(count);
    }
    // Neighbors in different blocks count as much as all others, because only they show that a
    // format of blocks has another width.
    double with(const Mean& atEdges) const {
        return atEdges.count == 0 ? value() : (value() + atEdges.value()) / 2;
    }
};

struct Cost {
    double near;  // of neighbors in lines and columns
    double far;   // of samples in distant lines and columns
};

// Returns the costs of a component. Blocks of a linear format have no width.
Cost costsOf(const Component& plane, int bandLines, int blockWidth, int blockHeight) {
    Mean inLines, inColumns, edgesInLines, edgesInColumns, far;
    const int width = plane.width;
    const auto rowAt = [&](int y) {
        return plane.samples.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
    };
    // Every second line is enough. These include the last ones of rows of blocks.
    for (int y = 1; y < plane.lines && width > 0; y += 2) {
        const uint16_t* row = rowAt(y);
        Mean edges;
        for (int x = blockWidth; blockWidth > 0 && x < width; x += blockWidth) {
            edges.add(costOf(row[x - 1], row[x]), 1);
        }
        edgesInLines.add(edges.cost, edges.count);
        inLines.add(costOfRows(row, row + 1, width - 1) - edges.cost, width - 1 - edges.count);
        if ((y + 1) % bandLines != 0) {
            const bool isEdge = blockWidth > 0 && (y + 1) % blockHeight == 0;
            (isEdge ? edgesInColumns : inColumns).add(costOfRows(row, rowAt(y + 1), width), width);
        }
        const uint16_t* distant = rowAt((y + plane.lines / 2) % plane.lines);
        const int shift = width * 3 / 8;
        far.add(costOfRows(row, distant + shift, width - shift), width - shift);
    }
    return {(inLines.with(edgesInLines) + inColumns.with(edgesInColumns)) / 2, far.value()};
}

// Returns the mean cost of the difference of any two bytes.
double costOfBytes(const unsigned char* bytes, int64_t size) {
    constexpr int STEP = 7;  // No sample or pixel has so many bytes, so all of their bytes count.
    std::array<int64_t, 256> counts = {};
    for (int64_t i = 0; i < size; i += STEP) {
        ++counts[bytes[i]];
    }
    double cost = 0;
    for (size_t a = 0; a < counts.size(); ++a) {
        for (size_t b = 0; b < a; ++b) {
            cost += 2.0 * static_cast<double>(counts[a] * counts[b]) *
                    costOf(static_cast<int>(a), static_cast<int>(b));
        }
    }
    const int64_t sampled = (size + STEP - 1) / STEP;
    return cost / static_cast<double>(sampled * sampled);
}

// Returns the number of low bits of P010's words that are no part of a sample: 6, or 8 if samples
// of 8 bits fill both bytes of their words, as ffmpeg writes them.
int unusedBitsOf(const unsigned char* words, int64_t size) {
    int64_t i = 0;
    while (i + 1 < size && words[i] == words[i + 1]) {
        i += 2;
    }
    return i + 1 < size ? 6 : 8;
}

// Returns the cost of the low 6 bits of P010's words. They are zeros, or a writer repeats the
// highest bits of the sample in them.
double costOfUnusedBits(const unsigned char* words, int64_t size) {
    constexpr unsigned BITS = 6;
    int64_t used = 0;
    for (int64_t i = 0; i + 1 < size; i += 2) {
        const unsigned low = words[i] & ((1U << BITS) - 1);
        used += low != 0 && low != words[i + 1] >> (8 - BITS) ? 1 : 0;
    }
    return static_cast<double>(used * BITS * COST_UNIT);
}

}  // namespace

FrameScorer::FrameScorer(DumpFile& file)
    : mFile(file), mSrc(BUFFER_SIZE, DeviceMemory::NO_FD), mDst(BUFFER_SIZE, DeviceMemory::NO_FD) {
    if (!DeviceMemory::isOpen(mSrc.getFd()) || !DeviceMemory::isOpen(mDst.getFd()) ||
        mSrc.data() == nullptr || mDst.data() == nullptr) {
        mFailure = host::lastLogEntry();
    }
}

// Fills a frame of few lines with bands that are spread, in each plane, over all that are held.
// Returns false if the file can't be read.
bool FrameScorer::readBands(const FrameGeometry& frame, const FrameGeometry& low, int bandLines) {
    std::fill_n(mSrc.data(), low.size, static_cast<unsigned char>(0));
    const int64_t bands = low.buffer.mHeight / bandLines;
    for (size_t i = 0; i < static_cast<size_t>(frame.layout.planeCount); ++i) {
        const int64_t bytes = bytesOf(frame, i, bandLines);
        const HeldBands held = heldBands(frame, i, mFile.size(), bandLines);
        for (int64_t band = 0; band < bands; ++band) {
            const int64_t from = (2 * band + 1) * held.all() / (2 * bands);
            const int64_t offset = from / held.perFrame * frame.size + frame.offsets.planes[i] +
                                   from % held.perFrame * bytes;
            if (!mFile.read(offset, bytes, mSrc.data() + low.offsets.planes[i] + band * bytes)) {
                return false;
            }
        }
    }
    return true;
}

FrameEnds FrameScorer::findFrameEnds(const FrameGeometry& frame) {
    constexpr int64_t MAX_ENDS = 16;
    constexpr int64_t LEAST_COST = COST_UNIT / 50;  // a byte
    const int64_t ends = mFile.size() / frame.size - 1;
    const int64_t pitch = frame.buffer.mYPitch;
    if (ends < 1 || frame.layout.planeCount != 1 || !frame.layout.isUnpacked() ||
        4 * pitch > frame.size) {
        return FrameEnds::UNKNOWN;
    }
    const int64_t count = std::min(ends, MAX_ENDS);
    int64_t seen = 0;
    for (int64_t i = 0; i < count; ++i) {
        // This reads two rows before the end of a frame, and two after it.
        const int64_t end = (1 + i * ends / count) * frame.size;
        const unsigned char* rows = mSrc.data();
        if (!mFile.read(end - 2 * pitch, 4 * pitch, mSrc.data())) {
            return FrameEnds::UNKNOWN;
        }
        const int64_t inside = std::max(costOfRows(rows, rows + pitch, pitch),
                                        costOfRows(rows + 2 * pitch, rows + 3 * pitch, pitch));
        const int64_t across = costOfRows(rows + pitch, rows + 2 * pitch, pitch);
        seen += across > inside * 13 / 10 + LEAST_COST * pitch ? 1 : 0;
    }
    return seen == count      ? FrameEnds::SEEN
           : 2 * seen > count ? FrameEnds::UNKNOWN
                              : FrameEnds::MISSING;
}

std::optional<FrameScore> FrameScorer::score(ScoredLines scored, Color::ColorFormat format,
                                             int width, int height) {
    const FrameGeometry frame(format, width, height);
    const int bandLines = bandLinesOf(frame);
    const int lines =
        countBands(frame, mFile.size(), bandLines, maxBandsOf(frame, scored)) * bandLines;
    const int size = Color::getFrameSize(width, lines, format);
    const auto output = Color::getDefaultOutputFormat(format);
    const int outputSize = Color::getFrameSize(width, lines, output);
    if (!failure().empty() || size <= 0 || size > BUFFER_SIZE || outputSize <= 0 ||
        outputSize > BUFFER_SIZE || !frame.isWholeBlocks() || frame.isCompressed(mFile) ||
        !readBands(frame, FrameGeometry(format, width, lines), bandLines)) {
        return {};
    }
    const double bytesCost = costOfBytes(mSrc.data(), size) * size;
    if (bytesCost == 0) {
        return {};
    }
    if (ColorConvert().convertFrame({{format, Color::BT601_LIMIT, width, lines, mSrc.getFd()},
                                     {output, Color::BT601_LIMIT, width, lines, mDst.getFd()}}) !=
        0) {
        mFailure = host::lastLogEntry();
        return {};
    }
    const bool isP010 = format == Color::P010;
    const int unusedBits = isP010 ? unusedBitsOf(mSrc.data(), size) : 6;
    double cost = isP010 && unusedBits == 6 ? costOfUnusedBits(mSrc.data(), size) : 0;
    FrameScore result = {};
    const auto components =
        componentsOf(frame.layout.format, width, lines, mDst.data(), unusedBits);
    for (const Component& plane : components) {
        const host::PlaneLayout& stored = frame.layout.planes[plane.lines < lines ? 1 : 0];
        const Cost costs = costsOf(plane, plane.lines * bandLines / lines,
                                   stored.blockWidth / plane.perUnit, stored.blockHeight);
        cost += costs.near * plane.width * plane.lines;
        if (&plane == &components.front()) {
            result.isNoise = costs.near > NOISE * costs.far;
        }
    }
    result.score = cost / bytesCost;
    result.isNoise = result.isNoise || result.score > NOISE;
    const std::vector<uint16_t>& last = components.back().samples;
    result.isTransparent =
        components.size() == 4 &&
        std::all_of(last.begin(), last.end(), [](int alpha) { return alpha == 0; });
    result.frameEnds = findFrameEnds(frame);
    return result;
}
