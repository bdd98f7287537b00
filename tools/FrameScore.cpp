#include "FrameScore.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <numeric>
#include <vector>

#include "FrameGeometry.h"
#include "fileutils/FileUtils.h"
#include "memory/DmabufMemory.h"

namespace {

using Color = ColorConvert;

// Lines of a band: at least two rows of blocks, or a few rows.
int bandLinesOf(const FrameGeometry& frame) {
    return std::min(frame.buffer.mHeight, frame.layout.planes[0].isLinear() ? 8 : 64);
}

// Bands to score, at most.
int maxBandsOf(const FrameGeometry& frame) { return frame.layout.planes[0].isLinear() ? 24 : 6; }

// Bytes of this many lines of the frame in a plane: of rows, or of rows of blocks.
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

// Number of bands of a plane, from the top, that the file holds.
int heldBands(const FrameGeometry& frame, size_t plane, int64_t span, int bandLines) {
    const int64_t bytes = std::max<int64_t>(1, bytesOf(frame, plane, bandLines));
    const int64_t held = std::max<int64_t>(0, span - frame.offsets.planes[plane]) / bytes;
    return static_cast<int>(std::min<int64_t>(held, frame.buffer.mHeight / bandLines));
}

// Number of bands to score, 0 where the file holds less than a third of a plane.
int countBands(const FrameGeometry& frame, int64_t span, int bandLines) {
    int count = maxBandsOf(frame);
    for (size_t i = 0; i < static_cast<size_t>(frame.layout.planeCount); ++i) {
        const int held = heldBands(frame, i, span, bandLines);
        count = held * 3 < frame.buffer.mHeight / bandLines ? 0 : std::min(count, held);
    }
    return count < 2 ? count : count / 2 * 2;  // heights of Lumo are multiples of two bands
}

// Fills a frame of few lines with bands of the frames that begin within span bytes of the file. The
// bands are spread over these frames and, in each plane, over what the file holds of it.
void readBands(const std::string& path, const FrameGeometry& frame, const FrameGeometry& low,
               int64_t span, int bandLines, unsigned char* to) {
    const int bands = low.buffer.mHeight / bandLines;
    const int frameSize =
        Color::getFrameSize(frame.buffer.mWidth, frame.buffer.mHeight, frame.buffer.mFormat);
    const int64_t frames = std::max<int64_t>(1, span / frameSize);
    for (size_t i = 0; i < static_cast<size_t>(frame.layout.planeCount); ++i) {
        const int64_t bytes = bytesOf(frame, i, bandLines);
        const int held = heldBands(frame, i, span, bandLines);
        for (int band = 0; band < bands; ++band) {
            const int64_t start = band * frames / bands * frameSize + frame.offsets.planes[i];
            const int64_t from = (2 * band + 1) * held / (2 * bands);
            FileUtils::readFromFile(path, to + low.offsets.planes[i] + band * bytes,
                                    static_cast<int>(bytes), static_cast<int>(start + from * bytes),
                                    1);
        }
    }
}

// Cost of the difference of two samples of at most 10 bits: bits of 1 / COST_UNIT.
constexpr int COST_UNIT = 1024;
int costOfDifference(int difference) {
    static const auto TABLE = [] {
        std::array<int, 1024> costs = {};
        for (size_t i = 0; i < costs.size(); ++i) {
            costs[i] =
                static_cast<int>(std::lround(std::log2(1.0 + static_cast<double>(i)) * COST_UNIT));
        }
        return costs;
    }();
    return TABLE[static_cast<size_t>(std::abs(difference))];
}

// A component of a linear frame: luma, Cb, Cr, a color or alpha.
struct Component {
    const unsigned char* bytes;
    int sampleBytes;  // 1, 2 or 4
    int shift;        // of the sample in its bytes
    int mask;
    int pitch;  // samples
    int step;   // samples to the next of the same component
    int width;  // samples of the component
    int lines;
    int weight;  // of its cost

    void copyRow(int y, std::vector<int>& row) const {
        const unsigned char* start = bytes + int64_t{y} * pitch * sampleBytes;
        if (sampleBytes == 1) {
            copySamples<uint8_t>(start, row);
        } else if (sampleBytes == 2) {
            copySamples<uint16_t>(start, row);
        } else {
            copySamples<uint32_t>(start, row);
        }
    }

  private:
    template <typename Word>
    void copySamples(const unsigned char* from, std::vector<int>& row) const {
        for (int& value : row) {
            Word word = 0;
            memcpy(&word, from, sizeof word);
            value = static_cast<int>(word >> shift) & mask;
            from += static_cast<size_t>(step) * sizeof word;
        }
    }
};

// Alpha is the same in all pixels of nearly every dump, so its changes count more than those of
// colors.
constexpr int ALPHA_WEIGHT = 4;

std::vector<Component> componentsOf(host::LinearFormat format, int width, int lines,
                                    const unsigned char* bytes) {
    std::vector<Component> all;
    const int size = host::bytesOf(format);
    if (isYuv(format)) {
        const int shift = size == 2 ? 6 : 0;
        const unsigned char* chroma = bytes + int64_t{width} * lines * size;
        all.push_back({bytes, size, shift, 0x3FF, width, 1, width, lines, 1});
        all.push_back({chroma, size, shift, 0x3FF, width, 2, width / 2, lines / 2, 1});
        all.push_back({chroma + size, size, shift, 0x3FF, width, 2, width / 2, lines / 2, 1});
    } else if (format == host::LinearFormat::RGB10_A2) {
        for (int i = 0; i < 3; ++i) {
            all.push_back({bytes, size, 10 * i, 0x3FF, width, 1, width, lines, 1});
        }
        all.push_back({bytes, size, 30, 3, width, 1, width, lines, ALPHA_WEIGHT});
    } else {
        for (int i = 0; i < size; ++i) {
            all.push_back({bytes + i, 1, 0, 0xFF, width * size, size, width, lines, 1});
        }
        all.back().weight = size == 4 ? ALPHA_WEIGHT : 1;
    }
    return all;
}

// Adds up the costs of neighbors. Neighbors in different blocks count as much as all others: only
// they show that a format of blocks has another width.
class NeighborCost {
  public:
    void add(int64_t cost, int64_t count, bool atEdge) {
        Sum& sum = mSums[atEdge ? 1 : 0];
        sum.cost += cost;
        sum.count += count;
    }
    double mean() const {
        const double inside = mSums[0].mean();
        return mSums[1].count == 0 ? inside : (inside + mSums[1].mean()) / 2;
    }

  private:
    struct Sum {
        int64_t cost = 0;
        int64_t count = 0;
        double mean() const {
            return count == 0 ? 0 : static_cast<double>(cost) / static_cast<double>(count);
        }
    };
    Sum mSums[2];  // inside blocks, at their edges
};

// The mean cost of a sample. Blocks of a linear format have no width.
double costOf(const Component& plane, int bandLines, int blockWidth, int blockHeight) {
    NeighborCost inLines;
    NeighborCost inColumns;
    std::vector<int> row(static_cast<size_t>(plane.width));
    std::vector<int> next(row.size());
    const auto cost = [](int a, int b) { return costOfDifference(a - b); };
    // Every second line is enough. These include the last ones of rows of blocks.
    for (int y = 1; y < plane.lines; y += 2) {
        plane.copyRow(y, row);
        int64_t edges = 0;
        int64_t edgeCount = 0;
        for (auto x = static_cast<size_t>(blockWidth); blockWidth > 0 && x < row.size();
             x += static_cast<size_t>(blockWidth)) {
            edges += cost(row[x - 1], row[x]);
            ++edgeCount;
        }
        const int64_t all = std::inner_product(row.begin(), row.end() - 1, row.begin() + 1,
                                               INT64_C(0), std::plus<>(), cost);
        inLines.add(edges, edgeCount, true);
        inLines.add(all - edges, plane.width - 1 - edgeCount, false);
        if ((y + 1) % bandLines != 0) {
            plane.copyRow(y + 1, next);
            inColumns.add(std::inner_product(row.begin(), row.end(), next.begin(), INT64_C(0),
                                             std::plus<>(), cost),
                          plane.width, blockWidth > 0 && (y + 1) % blockHeight == 0);
        }
    }
    return (inLines.mean() + inColumns.mean()) / 2;
}

// The mean cost of the difference of any two bytes.
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
                    costOfDifference(static_cast<int>(a - b));
        }
    }
    const int64_t sampled = (size + STEP - 1) / STEP;
    return cost / static_cast<double>(sampled * sampled);
}

// Bits of words of P010 that are no part of a sample, and 0 in every dump.
double costOfUnusedBits(const unsigned char* words, int64_t size) {
    int64_t used = 0;
    for (int64_t i = 0; i < size; i += 2) {
        used += (words[i] & 0x3F) != 0 ? 6 : 0;
    }
    return static_cast<double>(used) * COST_UNIT;
}

}  // namespace

std::optional<double> scoreFrames(const std::string& path, int64_t span, Color::ColorFormat format,
                                  int width, int height) {
    const FrameGeometry frame(format, width, height);
    const int bandLines = bandLinesOf(frame);
    const int lines = countBands(frame, span, bandLines) * bandLines;
    const int size = Color::getFrameSize(width, lines, format);
    if (lines == 0 || size <= 0 || frame.isCompressed(path)) {
        return {};
    }
    const auto output = Color::getDefaultOutputFormat(format);
    DmabufMemory src(size, DeviceMemory::NO_FD);
    DmabufMemory dst(Color::getFrameSize(width, lines, output), DeviceMemory::NO_FD);
    if (src.data() == nullptr || dst.data() == nullptr) {
        return {};
    }
    std::fill_n(src.data(), size, static_cast<unsigned char>(0));
    readBands(path, frame, FrameGeometry(format, width, lines), span, bandLines, src.data());
    const double bytesCost = costOfBytes(src.data(), size) * size;
    if (bytesCost == 0 || ColorConvert().convertFrame(
                              {{format, Color::BT601_LIMIT, width, lines, src.getFd()},
                               {output, Color::BT601_LIMIT, width, lines, dst.getFd()}}) != 0) {
        return {};
    }
    double cost = format == Color::P010 ? costOfUnusedBits(src.data(), size) : 0;
    const host::LinearFormat linear = frame.layout.format;
    for (const Component& plane : componentsOf(linear, width, lines, dst.data())) {
        const host::PlaneLayout& stored = frame.layout.planes[plane.lines < lines ? 1 : 0];
        const int perSample = plane.step * plane.sampleBytes / sampleBytesOf(linear);
        cost += costOf(plane, plane.lines * bandLines / lines, stored.blockWidth / perSample,
                       stored.blockHeight) *
                plane.weight * plane.width * plane.lines;
    }
    return std::min(1.0, cost / bytesCost);
}
