#include "FrameScore.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <numeric>
#include <optional>
#include <vector>

#include "FrameGeometry.h"
#include "Log.h"

namespace {

using Color = ColorConvert;

constexpr double NOISE = 0.85;  // at least, the cost of neighbors as a share of that of any samples
constexpr int MAX_SIZE = 12 << 20;  // bytes of the bands that are scored

// Bands says how many bands of lines a file holds.
struct Bands {
    int lines;  // of a band: at least two rows of blocks, or a few rows
    int64_t frames;
    int64_t count;                  // of all frames, in the plane that has the fewest
    std::vector<int64_t> perFrame;  // in each plane
};

// The count is 0 if the file holds less than a third of a plane.
Bands heldBands(const FrameGeometry& frame, int64_t fileSize) {
    const int lines = std::min(frame.buffer.mHeight, frame.layout.planes[0].isLinear() ? 16 : 64);
    const int64_t whole = frame.buffer.mHeight / lines;
    Bands bands = {lines, std::max<int64_t>(1, fileSize / frame.size), INT64_MAX, {}};
    for (size_t i = 0; i < static_cast<size_t>(frame.layout.planeCount); ++i) {
        const int64_t bytes = std::max<int64_t>(0, fileSize - frame.offsets.planes[i]);
        const int64_t held = std::min(whole, bytes / std::max<int64_t>(1, frame.bytesOf(i, lines)));
        bands.perFrame.push_back(held);
        bands.count = std::min(bands.count, held * 3 < whole ? 0 : held * bands.frames);
    }
    return bands;
}

// The cost of the difference of two samples, of at most 10 bits each, is a number of bits.
const auto COSTS = [] {
    std::array<double, 1024> costs = {};
    for (size_t i = 0; i < costs.size(); ++i) {
        costs[i] = std::log2(1.0 + static_cast<double>(i));
    }
    return costs;
}();

double costOf(int a, int b) { return COSTS[static_cast<size_t>(std::abs(a - b))]; }

// Returns the sum of the costs of count pairs of neighbors, or of samples of any two rows.
template <typename Sample>
double costOfRows(const Sample* row, const Sample* other, int64_t count) {
    return std::transform_reduce(row, row + count, other, 0.0, std::plus<>(), costOf);
}

// A Component is one of a linear frame: luma, Cb, Cr, a color or alpha.
struct Component {
    int width;  // samples
    int lines;
    int perUnit;  // samples of the stored plane to the next one of this component
    std::vector<uint16_t> samples;
};

// Returns count samples that are stored step bytes apart. Each is some bits of the word of four
// bytes that begins there, so up to three bytes after the last sample are read too.
std::vector<uint16_t> unpack(const unsigned char* from, int step, int shift, int bits, int count) {
    std::vector<uint16_t> samples(static_cast<size_t>(count));
    for (uint16_t& sample : samples) {
        uint32_t word = 0;
        memcpy(&word, from, sizeof word);
        sample = static_cast<uint16_t>(word >> shift & ((1U << bits) - 1));
        from += step;
    }
    return samples;
}

// Returns the bits of a sample of luma, or of R, G and B.
int depthOf(host::LinearFormat format) {
    return format == host::LinearFormat::RGB10_A2 ? 10 : host::bitsOf(format);
}

// bits is the number of bits of a sample. In YUV they are the highest of a byte or word.
std::vector<Component> componentsOf(host::LinearFormat format, int width, int lines,
                                    const unsigned char* bytes, int bits) {
    std::vector<Component> all;
    const bool yuv = isYuv(format);
    const int size = host::columnBytes(format);
    for (int i = 0; i < (yuv ? 3 : size); ++i) {
        // Pairs of Cb and Cr follow luma. Each belongs to two columns and two lines.
        const bool isChroma = yuv && i > 0;
        const int step = isChroma ? 2 : 1;
        const int start = isChroma ? (width * lines + (i == 2 ? 1 : 0)) * size : 0;
        const int shift = yuv ? size * 8 - bits : i * bits;
        all.push_back(
            {width / step, lines / step, yuv ? step : size,
             unpack(bytes + start, step * size, shift, bits, width * lines / (step * step))});
    }
    return all;
}

// A Mean is the mean cost of pairs of samples.
struct Mean {
    double cost = 0;
    double count = 0;

    void add(double someCost, double someCount) {
        cost += someCost;
        count += someCount;
    }
    double value() const { return count == 0 ? 0 : cost / count; }
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
        inLines.add(costOfRows(row, row + 1, width - 1), width - 1);
        for (int x = blockWidth; blockWidth > 0 && x < width; x += blockWidth) {
            const double cost = costOf(row[x - 1], row[x]);
            inLines.add(-cost, -1);
            edgesInLines.add(cost, 1);
        }
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
    std::array<double, 256> counts = {};
    double all = 0;
    for (int64_t i = 0; i < size; i += STEP) {
        ++counts[bytes[i]];
        ++all;
    }
    double cost = 0;
    for (size_t a = 0; a < counts.size(); ++a) {
        for (size_t b = 0; b < a; ++b) {
            cost += 2 * counts[a] * counts[b] * COSTS[a - b];
        }
    }
    return cost / (all * all);
}

// The lowest 6 bits of P010's words are no part of a sample. They are zeros, or a writer repeats
// the highest bits of the sample there. Or a writer, such as ffmpeg, puts a sample of 8 bits into
// both bytes of each word.
bool isDoubled(int word) { return word >> 8 == (word & 0xFF); }
constexpr int UNUSED_BITS = 6;
bool usesUnusedBits(int word) {
    const int low = word & ((1 << UNUSED_BITS) - 1);
    return low != 0 && low != word >> (16 - UNUSED_BITS);
}

// Fills a frame of few lines with bands that are spread, in each plane, over all that are held.
// Returns false if the file can't be read.
bool readBands(DumpFile& file, const FrameGeometry& frame, const Bands& held,
               const FrameGeometry& low, unsigned char* to) {
    std::fill_n(to, low.size, static_cast<unsigned char>(0));
    const int64_t bands = low.buffer.mHeight / held.lines;
    for (size_t i = 0; i < static_cast<size_t>(frame.layout.planeCount); ++i) {
        const int64_t bytes = frame.bytesOf(i, held.lines);
        for (int64_t band = 0; band < bands; ++band) {
            const int64_t perFrame = held.perFrame[i];
            const int64_t from = (2 * band + 1) * perFrame * held.frames / (2 * bands);
            const int64_t offset =
                from / perFrame * frame.size + frame.offsets.planes[i] + from % perFrame * bytes;
            if (!file.read(offset, bytes, to + low.offsets.planes[i] + band * bytes)) {
                return false;
            }
        }
    }
    return true;
}

// Finds what Reading::seesEnds says. rows has room for four rows.
std::optional<bool> seesFrameEnds(DumpFile& file, const FrameGeometry& frame, unsigned char* rows) {
    constexpr int64_t MAX_ENDS = 16;
    constexpr double LEAST_COST = 0.02;  // a byte
    const int64_t ends = file.size() / frame.size - 1;
    const int64_t pitch = frame.buffer.mYPitch;
    if (ends < 1 || frame.layout.planeCount != 1 || !frame.layout.isUnpacked() ||
        4 * pitch > frame.size) {
        return {};
    }
    const int64_t count = std::min(ends, MAX_ENDS);
    int64_t seen = 0;
    for (int64_t i = 0; i < count; ++i) {
        // This reads two rows before the end of a frame, and two after it.
        const int64_t end = (1 + i * ends / count) * frame.size;
        if (!file.read(end - 2 * pitch, 4 * pitch, rows)) {
            return {};
        }
        const double inside = std::max(costOfRows(rows, rows + pitch, pitch),
                                       costOfRows(rows + 2 * pitch, rows + 3 * pitch, pitch));
        const double across = costOfRows(rows + pitch, rows + 2 * pitch, pitch);
        seen += across > inside * 1.3 + LEAST_COST * static_cast<double>(pitch) ? 1 : 0;
    }
    const bool isUnclear = seen < count && 2 * seen > count;
    return isUnclear ? std::nullopt : std::optional(seen == count);
}

}  // namespace

// unpack() reads up to three bytes after the last sample.
FrameScorer::FrameScorer(const std::string& path)
    : mFile(path),
      mSrc(MAX_SIZE + sizeof(uint32_t), DeviceMemory::NO_FD),
      mDst(MAX_SIZE + sizeof(uint32_t), DeviceMemory::NO_FD) {
    if (!DeviceMemory::isOpen(mSrc.getFd()) || !DeviceMemory::isOpen(mDst.getFd()) ||
        mSrc.data() == nullptr || mDst.data() == nullptr) {
        mFailure = host::lastLogEntry();
    }
}

bool FrameScorer::score(Reading& reading, int64_t maxBands) {
    constexpr int64_t MAX_SAMPLES = 2 << 20;  // of luma, or pixels
    const Color::ColorFormat format = reading.format;
    const auto& [width, height] = reading.aligned;
    const FrameGeometry frame(format, width, height);
    const Bands held = heldBands(frame, mFile.size());
    int64_t bands =
        std::min({maxBands, std::max<int64_t>(2, MAX_SAMPLES / width / held.lines), held.count});
    // Heights of Lumo are multiples of two bands.
    bands -= bands > 1 ? bands % 2 : 0;
    const int lines = static_cast<int>(bands) * held.lines;
    const int size = Color::getFrameSize(width, lines, format);
    const auto output = Color::getDefaultOutputFormat(format);
    const int outputSize = Color::getFrameSize(width, lines, output);
    if (!failure().empty() || std::min(size, outputSize) <= 0 ||
        std::max(size, outputSize) > MAX_SIZE || !frame.isWholeBlocks() ||
        frame.isCompressed(mFile) ||
        !readBands(mFile, frame, held, FrameGeometry(format, width, lines), mSrc.data())) {
        return false;
    }
    const double bytesCost = costOfBytes(mSrc.data(), size) * size;
    if (bytesCost == 0) {
        return false;
    }
    if (ColorConvert().convertFrame({{format, Color::BT601_LIMIT, width, lines, mSrc.getFd()},
                                     {output, Color::BT601_LIMIT, width, lines, mDst.getFd()}}) !=
        0) {
        mFailure = host::lastLogEntry();
        return false;
    }
    int bits = depthOf(frame.layout.format);
    double cost = 0;
    if (format == Color::P010) {
        const auto words = unpack(mSrc.data(), 2, 0, 16, size / 2);
        if (std::all_of(words.begin(), words.end(), isDoubled)) {
            bits = 8;
        } else {
            const auto used = std::count_if(words.begin(), words.end(), usesUnusedBits);
            cost = static_cast<double>(UNUSED_BITS * used);
        }
    }
    const auto components = componentsOf(frame.layout.format, width, lines, mDst.data(), bits);
    for (const Component& plane : components) {
        const host::PlaneLayout& stored = frame.layout.planes[plane.lines < lines ? 1 : 0];
        const Cost costs = costsOf(plane, plane.lines * held.lines / lines,
                                   stored.blockWidth / plane.perUnit, stored.blockHeight);
        cost += costs.near * plane.width * plane.lines;
        if (&plane == &components.front()) {
            reading.isNoise = costs.near > NOISE * costs.far;
        }
    }
    reading.score = cost / bytesCost;
    reading.isNoise |= reading.score > NOISE;
    const std::vector<uint16_t>& last = components.back().samples;
    reading.isTransparent =
        components.size() == 4 &&
        std::all_of(last.begin(), last.end(), [](int alpha) { return alpha == 0; });
    reading.seesEnds = seesFrameEnds(mFile, frame, mSrc.data());
    return true;
}
