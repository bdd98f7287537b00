// The host's blit engine: layouts, color arithmetic, and jobs that don't fit their buffers.
#include <PxAsyncBlitStream.h>
#include <fcntl.h>
#include <sync/sync.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>

#include "TestFiles.h"
#include "blit/ColorMatrix.h"
#include "blit/Layout.h"
#include "color/Catalogue.h"
#include "color/ColorConvert.h"
#include "memory/DmabufMemory.h"

namespace {

using C = ColorConvert;

// A frame in a device buffer.
struct Frame {
    Frame(C::ColorFormat f, int w, int h)
        : format(f), width(w), height(h), size(C::getFrameSize(w, h, f)), memory(size, -1) {
        std::fill_n(memory.data(), size, 0);
    }

    C::ColorConvertBuffer side(int space) { return {format, space, width, height, memory.getFd()}; }
    uint8_t* bytes() { return memory.data(); }
    uint16_t* words() { return reinterpret_cast<uint16_t*>(memory.data()); }
    // Sample of a plain frame, of YUV the chroma rows after the luma rows.
    int sample(size_t index) { return format == C::P010 ? words()[index] >> 6 : bytes()[index]; }

    int firstDifferenceFrom(Frame& other) {
        return static_cast<int>(firstDifference(bytes(), other.bytes(), static_cast<size_t>(size)));
    }

    C::ColorFormat format;
    int width, height, size;
    DmabufMemory memory;
};

int convert(Frame& src, int srcSpace, Frame& dst, int dstSpace) {
    return ColorConvert().convertFrame({src.side(srcSpace), dst.side(dstSpace)});
}

// The engine's tables are its own: the other side of the seam.
TEST(Engine, KnowsEveryFormatAndColorSpace) {
    for (const ColorFormatInfo& info : colorFormatInfos) {
        EXPECT_EQ(host::findLayout(info.pxColor) != nullptr, info.value != C::UNKNOWN)
            << info.name << " has no layout";
    }
    for (const ColorSpaceInfo& info : colorSpaceInfos) {
        EXPECT_NE(host::findProfile(info.pxProfile), nullptr)
            << info.name << " has no profile in the engine";
    }
}

TEST(Engine, StoredSamplesReachTheirPlaces) {
    for (const auto& [name, w, h, index, place, sample, value] :
         table<S, int, int, size_t, size_t, uint32_t, int>("samples.txt")) {
        SCOPED_TRACE(name + ", sample " + std::to_string(index));
        size_t bit = place;
        uint32_t stored = sample;
        Frame src(C::getColorFormatFromStr(name), w, h);
        Frame dst(C::getDefaultOutputFormat(src.format), w, h);
        for (stored <<= bit % 8; stored != 0; stored >>= 8, bit += 8) {
            src.bytes()[bit / 8] |= static_cast<uint8_t>(stored);
        }
        ASSERT_EQ(convert(src, 0, dst, 0), 0);
        EXPECT_EQ(dst.sample(index), value);
        const auto zeros = std::count(dst.bytes(), dst.bytes() + dst.size, 0);
        EXPECT_GE(zeros, dst.size - (dst.format == C::P010 ? 2 : 1)) << "and nowhere else";
    }
}

// Colors in floating point, from the definitions.
struct Space {
    double kr, kb;
    bool full;
};

// By ColorConvert::ColorSpace.
std::vector<Space> spaces() {
    std::vector<Space> all;
    for (const auto& [name, profile, kr, kb, range] :
         table<S, S, double, double, S>("spaces.txt")) {
        all.push_back({kr, kb, range == "full"});
    }
    return all;
}
const std::vector<Space> SPACES = spaces();

struct Rgb {
    double r, g, b;
};

Rgb decode(const Space& s, int bits, double y, double cb, double cr) {
    const double unit = 1 << (bits - 8);
    const double top = 256 * unit - 1;
    const double luma = s.full ? y / top : (y - 16 * unit) / (219 * unit);
    const double b = (cb - 128 * unit) / (s.full ? top : 224 * unit);
    const double r = (cr - 128 * unit) / (s.full ? top : 224 * unit);
    const double red = luma + 2 * (1 - s.kr) * r;
    const double blue = luma + 2 * (1 - s.kb) * b;
    return {red, (luma - s.kr * red - s.kb * blue) / (1 - s.kr - s.kb), blue};
}

void encode(const Space& s, int bits, const Rgb& c, double out[3]) {
    const double unit = 1 << (bits - 8);
    const double top = 256 * unit - 1;
    const double luma = s.kr * c.r + (1 - s.kr - s.kb) * c.g + s.kb * c.b;
    const double span = s.full ? top : 224 * unit;
    out[0] = s.full ? luma * top : 16 * unit + luma * 219 * unit;
    out[1] = 128 * unit + (c.b - luma) / (2 * (1 - s.kb)) * span;
    out[2] = 128 * unit + (c.r - luma) / (2 * (1 - s.kr)) * span;
}

// Every Y, Cb, Cr of a grid that holds the extremes: a row a Y, two columns a Cb, Cr.
struct Grid : Frame {
    Grid(C::ColorFormat f, int n) : Frame(f, 2 * n * n, n), steps(n) {
        for (int i = 0; i < width * height * 3 / 2; ++i) {
            const int x = i % width;
            const int value = i < width * height ? y(i / width) : x % 2 == 0 ? cb(x) : cr(x);
            if (format == C::P010) {
                words()[i] = static_cast<uint16_t>(value << 6);
            } else {
                bytes()[i] = static_cast<uint8_t>(value);
            }
        }
    }
    int value(int step) const { return (format == C::P010 ? 1023 : 255) * step / (steps - 1); }
    int y(int row) const { return value(row); }
    int cb(int x) const { return value(x / 2 / steps); }
    int cr(int x) const { return value(x / 2 % steps); }
    size_t at(int x, int row) const {
        return static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(x);
    }

    int steps;
};

// Calls f(x, row) for every pixel.
template <typename F>
void forEachPixel(const Frame& frame, F f) {
    for (int i = 0; i < frame.width * frame.height; ++i) {
        f(i % frame.width, i / frame.width);
    }
}

double kept(double value, double top) { return std::min(std::max(value, 0.0), top); }

class EngineColor : public testing::TestWithParam<C::ColorFormat> {
  protected:
    int bits() const { return GetParam() == C::P010 ? 10 : 8; }
};

TEST_P(EngineColor, EverySpaceToRgbaIsExactToTheRounding) {
    Grid grid(GetParam(), 52);
    Frame picture(C::RGBA8888, grid.width, grid.height);
    for (int space = 0; space < C::COLOR_SPACE_COUNT; ++space) {
        ASSERT_EQ(convert(grid, space, picture, 0), 0);
        double worst = 0;
        size_t unequal = 0;
        forEachPixel(grid, [&](int x, int row) {
            const Rgb c = decode(SPACES.at(static_cast<size_t>(space)), bits(), grid.y(row),
                                 grid.cb(x), grid.cr(x));
            const double exact[] = {c.r * 255, c.g * 255, c.b * 255, 255};
            for (size_t i = 0; i < 4; ++i) {
                const double wanted = kept(exact[i], 255);
                const int got = picture.bytes()[grid.at(x, row) * 4 + i];
                worst = std::max(worst, std::abs(got - wanted));
                unequal += got != std::lround(wanted);
            }
        });
        EXPECT_LE(worst, 1) << "space " << space;
        EXPECT_LE(static_cast<double>(unequal), 0.00075 * picture.size) << "space " << space;
    }
}

TEST_P(EngineColor, EveryPairOfSpacesIsWithinItsBound) {
    Grid grid(GetParam(), 18);
    Frame changed(GetParam(), grid.width, grid.height);
    const double top = (1 << bits()) - 1;
    const auto count = static_cast<int>(SPACES.size());
    for (int pair = 0; pair < count * count; ++pair) {
        const int from = pair / count;
        const int to = pair % count;
        const Space& source = SPACES[static_cast<size_t>(from)];
        const Space& target = SPACES[static_cast<size_t>(to)];
        ASSERT_EQ(convert(grid, from, changed, to), 0);
        if (from == to) {
            EXPECT_EQ(changed.firstDifferenceFrom(grid), changed.size) << from;
            continue;
        }
        double worst = 0;
        forEachPixel(grid, [&](int x, int row) {
            double exact[3];
            encode(target, bits(), decode(source, bits(), grid.y(row), grid.cb(x), grid.cr(x)),
                   exact);
            const auto check = [&](size_t index, double wanted) {
                worst = std::max(worst,
                                 std::abs(changed.sample(index) - std::round(kept(wanted, top))));
            };
            check(grid.at(x, row), exact[0]);
            check(grid.at(x, grid.height + row / 2), exact[1 + x % 2]);
        });
        EXPECT_LE(worst, bits() == 8 ? 1 : 2) << from << " to " << to;
    }
}

INSTANTIATE_TEST_SUITE_P(All, EngineColor, testing::Values(C::NV12, C::P010),
                         [](const auto& i) { return std::string(colorFormatInfo(i.param).name); });

TEST(Engine, RgbToRgbaScalesDepthAndAlpha) {
    Frame deep(C::RGBA1010102, 1024, 2), plain(C::RGB888, 1024, 2), fromDeep(C::RGBA8888, 1024, 2),
        fromPlain(C::RGBA8888, 1024, 2);
    const auto ten = [](uint32_t i, uint32_t c) {
        return c == 0 ? i % 1024 : c == 1 ? 1023 - i % 1024 : i * 7 % 1024;
    };
    for (uint32_t i = 0; i < 2048; ++i) {
        const uint32_t word = ten(i, 0) | ten(i, 1) << 10 | ten(i, 2) << 20 | (i % 4) << 30;
        memcpy(deep.bytes() + i * 4, &word, 4);
        plain.bytes()[i * 3 + i % 3] = static_cast<uint8_t>(i);
    }
    ASSERT_EQ(convert(deep, 0, fromDeep, 3), 0);
    ASSERT_EQ(convert(plain, 0, fromPlain, 0), 0);
    for (uint32_t i = 0; i < 2048; ++i) {
        for (uint32_t c = 0; c < 3; ++c) {
            ASSERT_EQ(fromDeep.bytes()[i * 4 + c], std::lround(ten(i, c) * 255 / 1023.0)) << i;
            ASSERT_EQ(fromPlain.bytes()[i * 4 + c], plain.bytes()[i * 3 + c]);
        }
        ASSERT_EQ(fromDeep.bytes()[i * 4 + 3], i % 4 * 85);
        ASSERT_EQ(fromPlain.bytes()[i * 4 + 3], 255);
    }
}

// Widths and heights down to one, where chroma is short or missing.
TEST(Engine, OddSizesTakeTheNearestChroma) {
    for (const C::ColorFormat format : {C::NV12, C::P010, C::YUV420P, C::YV12}) {
        SCOPED_TRACE(colorFormatInfo(format).name);
        for (int size = 0; size < 64; ++size) {
            const int w = 1 + size % 8;
            const int h = 1 + size / 8 + (size % 3) * 31;
            Frame src(format, w, h);
            for (int i = 0; i < src.size; ++i) {
                src.bytes()[i] = static_cast<uint8_t>(i * 37);
            }
            Frame plain(C::getDefaultOutputFormat(format), w, h);
            Frame picture(C::RGBA8888, w, h);
            Frame again(C::RGBA8888, w, h);
            Frame changed(plain.format, w, h);
            ASSERT_EQ(convert(src, 0, plain, 0), 0);
            ASSERT_EQ(convert(src, 0, picture, 0), 0);
            ASSERT_EQ(convert(plain, 0, again, 0), 0);
            ASSERT_EQ(convert(src, 0, changed, 3), 0);
            EXPECT_EQ(picture.firstDifferenceFrom(again), again.size) << w << " x " << h;
            // The last pixel has the color of the last pair.
            const bool gray = w < 2 || h < 2;
            const int bits = plain.format == C::P010 ? 10 : 8;
            const auto chroma = static_cast<size_t>((h + h / 2 - 1) * w + w / 2 * 2 - 2);
            const int middle = 1 << (bits - 1);
            const Rgb c = decode(SPACES[0], bits, plain.sample(static_cast<size_t>(w * h - 1)),
                                 gray ? middle : plain.sample(chroma),
                                 gray ? middle : plain.sample(chroma + 1));
            const uint8_t* last = again.bytes() + again.size - 4;
            EXPECT_NEAR(last[0], kept(c.r * 255, 255), 1) << w << " x " << h;
            EXPECT_NEAR(last[2], kept(c.b * 255, 255), 1) << w << " x " << h;
            double luma[3];
            encode(SPACES[3], bits, c, luma);
            EXPECT_NEAR(changed.sample(static_cast<size_t>(w * h - 1)),
                        kept(luma[0], (1 << bits) - 1), bits == 8 ? 1 : 2)
                << w << " x " << h;
            // The sample that an odd width leaves over has no color to change, and none at all
            // where chroma comes from planes.
            const auto leftOver = static_cast<size_t>((h + h / 2) * w - 1);
            EXPECT_TRUE(w % 2 == 0 || h < 2 ||
                        changed.sample(leftOver) ==
                            (plain.format == format ? plain.sample(leftOver) : 128))
                << w << " x " << h;
        }
    }
}

TEST(Engine, RefusesWhatItCannotDo) {
    for (const auto& [from, to, w, h] : table<S, S, int, int>("refused-jobs.txt")) {
        Frame src(C::getColorFormatFromStr(from), w, h);
        Frame dst(C::getColorFormatFromStr(to), w, h);
        EXPECT_EQ(convert(src, 0, dst, 0), -1) << from << " to " << to << ", " << w << " x " << h;
    }
    Frame frame(C::NV12, 16, 16);
    EXPECT_EQ(convert(frame, 0, frame, 0), -1) << "one buffer";
}

int mappedBuffers() {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (S line; std::getline(maps, line);) {
        count += line.find("/memfd:vex_mm") != S::npos;
    }
    return count;
}

// A source that can't be read shows whether the engine maps it anew.
TEST(Engine, CallsMmapOnlyWhereNobodyHasAndOnlyForTheJob) {
    for (const int side : {16, 1024, 1920}) {
        const int size = side * side * 3 / 2;
        DmabufMemory src(size, -1);
        DmabufMemory dst(size, -1);
        const int writeOnly =
            open(("/proc/self/fd/" + std::to_string(src.getFd())).c_str(), O_WRONLY | O_CLOEXEC);
        const auto run = [&](int fd) {
            return ColorConvert().convertFrame(
                {{C::NV12, 0, side, side, fd}, {C::NV12, 0, side, side, dst.getFd()}});
        };
        EXPECT_EQ(run(src.getFd()), 0);
        EXPECT_EQ(mappedBuffers(), 0) << "the engine's munmap";
        EXPECT_EQ(run(writeOnly), -1) << "the engine's mmap fails";
        void* part = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, src.getFd(), 0);
        EXPECT_EQ(run(writeOnly), side == 16 ? 0 : -1) << "mapped in part";
        munmap(part, 4096);
        EXPECT_EQ(run(writeOnly), -1) << "mapped no longer";
        src.data();
        EXPECT_EQ(run(writeOnly), 0) << "mapped by its owner";
        void* readOnly =
            mmap(nullptr, static_cast<size_t>(size), PROT_READ, MAP_SHARED, dst.getFd(), 0);
        EXPECT_EQ(run(writeOnly), 0) << "a destination that only its owner reads";
        EXPECT_EQ(mappedBuffers(), 2);
        munmap(readOnly, static_cast<size_t>(size));
        close(writeOnly);
    }
}

// Jobs with any numbers: refused or done, and never a byte beyond the frame.
TEST(Engine, AnyJobStaysInsideItsBuffers) {
    std::mt19937 random(7);
    const auto pick = [&random](unsigned count) { return static_cast<int>(random() % count); };
    const auto code = [](const auto& s) {
        return static_cast<PX_COLOR_ENUM>(colorFormatInfo(s.mFormat).pxColor);
    };
    int done = 0;
    PxAsyncBlitStream stream;
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const int width = pick(4) == 0 ? 1 + pick(70) : 32 * (1 + pick(4));
        const int height = pick(4) == 0 ? 1 + pick(70) : 32 * (1 + pick(3));
        C::ColorConvertBuffer sides[2];
        std::unique_ptr<DmabufMemory> buffers[2];
        int64_t sizes[2];
        for (auto& side : sides) {
            side = {static_cast<C::ColorFormat>(1 + pick(C::COLOR_FORMAT_COUNT - 1)), 0, width,
                    height};
            if (&side != sides && pick(8) != 0) {
                side.mFormat =
                    pick(3) == 0 ? C::RGBA8888 : C::getDefaultOutputFormat(sides[0].mFormat);
            }
            colorFormatInfo(side.mFormat).calculate(side);
            const int size =
                std::max(1, C::getFrameSize(width, height, side.mFormat) + pick(80) - 20);
            auto& buffer = buffers[&side - sides];
            buffer = std::make_unique<DmabufMemory>(size, -1);
            sizes[&side - sides] = size;
            side.mFd = pick(50) == 0 ? pick(3000) - 1 : buffer->getFd();
            // A number in four is off, by little or by much.
            int32_t* const numbers[] = {&side.mWidth, &side.mHeight, &side.mYPitch, &side.mUVPitch};
            const int off = pick(2) == 0 ? pick(9) - 4 : static_cast<int>(random());
            *numbers[pick(4)] += pick(4) == 0 ? off : 0;
            side.mPlaneSize[pick(3)] += static_cast<uint32_t>(pick(8) == 0 ? pick(65) - 32 : 0);
            side.mPlaneCount += static_cast<uint32_t>(pick(16) == 0 ? pick(5) - 2 : 0);
        }
        auto& [src, dst] = sides;
        const int64_t told = int64_t{dst.mPlaneSize[0]} + dst.mPlaneSize[1] + dst.mPlaneSize[2];
        const int64_t end = std::min(
            sizes[1], std::max<int64_t>(told, C::getFrameSize(width, height, dst.mFormat)));
        std::fill(buffers[1]->data() + end, buffers[1]->data() + sizes[1], 0xA5);
        unsigned int job = 0;
        const int wrong = pick(16);  // 0: another job's number; 1: a cropped source
        int fence = -1;
        timeval now = {};
        PxRect target = {0, 0, 0, 0, dst.mWidth, 0, dst.mHeight, 0};
        ASSERT_EQ(stream.createJob(job, fence), 0);
        stream.setConfigBegin(wrong == 0 ? job + 1 : job);
        stream.setSrcBuffer(src.mFd, src.mPlaneSize, src.mPlaneCount, -1);
        stream.setSrcConfig(src.mWidth, src.mHeight, src.mYPitch, src.mUVPitch, code(src),
                            static_cast<PX_PROFILE_ENUM>(pick(8)), {}, {}, false, 0);
        stream.setSrcCrop(0, {0, 0, 0, 0, src.mWidth - (wrong == 1 ? 1 : 0), 0, src.mHeight, 0});
        stream.setDstBuffer(0, dst.mFd, dst.mPlaneSize, dst.mPlaneCount, -1);
        stream.setDstConfig(0, dst.mWidth, dst.mHeight, dst.mYPitch, dst.mUVPitch, code(dst),
                            PX_PROFILE_ENUM{}, {}, &target, {}, false, 0, 0);
        stream.setConfigEnd();
        const bool converted = stream.invalidate(&now) == 0;
        done += converted;
        const bool whole = wrong > 1 && src.mWidth == dst.mWidth && src.mHeight == dst.mHeight;
        EXPECT_TRUE(!converted || whole) << "only whole frames, unscaled, of the job in hand";
        EXPECT_EQ(sync_wait(fence, 0), converted ? 0 : -1);
        close(fence);
        EXPECT_EQ(std::count(buffers[1]->data() + end, buffers[1]->data() + sizes[1], 0xA5),
                  sizes[1] - end);
    }
    EXPECT_GT(done, 2000);
}

}  // namespace
