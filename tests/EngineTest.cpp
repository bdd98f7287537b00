// These tests check the host's blit engine: where it reads samples, how it converts colors, which
// jobs it refuses.
#include <PxAsyncBlitStream.h>
#include <fcntl.h>
#include <sync/sync.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <set>

#include "TestFiles.h"
#include "color/Catalogue.h"
#include "color/ColorConvert.h"
#include "memory/DmabufMemory.h"

namespace {

using Color = ColorConvert;

// A Frame is stored in a device buffer.
struct Frame {
    Frame(Color::ColorFormat f, int w, int h)
        : format(f), width(w), height(h), size(Color::getFrameSize(w, h, f)), memory(size, -1) {
        std::fill_n(memory.data(), size, 0);
    }

    Color::ColorConvertBuffer side(int space) {
        return {format, space, width, height, memory.getFd()};
    }
    uint8_t* bytes() { return memory.data(); }
    uint16_t* words() { return reinterpret_cast<uint16_t*>(memory.data()); }
    // Returns a sample of a linear frame. The chroma rows of YUV follow the luma rows.
    int sample(int index) { return format == Color::P010 ? words()[index] >> 6 : bytes()[index]; }

    Color::ColorFormat format;
    int width, height, size;
    DmabufMemory memory;
};

int convert(Frame& src, int srcSpace, Frame& dst, int dstSpace) {
    return ColorConvert().convertFrame({src.side(srcSpace), dst.side(dstSpace)});
}

std::string nameOf(const Frame& frame) {
    return std::string(colorFormatInfo(frame.format).name) + ", " + std::to_string(frame.width) +
           " x " + std::to_string(frame.height);
}

// A quarter of the bytes are the lowest or the highest, so that colors meet their extremes.
void fillRandomly(Frame& frame) {
    std::generate_n(frame.bytes(), frame.size,
                    [random = std::mt19937(static_cast<unsigned>(frame.size))]() mutable {
                        const auto bits = random();
                        const auto byte = static_cast<uint8_t>(bits);
                        return bits >> 30 != 0 ? byte : uint8_t{byte < 128} * 0xFF;
                    });
}

// Returns count bits of a little-endian stream as a number.
int bitsAt(const uint8_t* bytes, int64_t first, int count) {
    int value = 0;
    for (int bit = 0; bit < count; ++bit) {
        value |= (bytes[(first + bit) / 8] >> (first + bit) % 8 & 1) << bit;
    }
    return value;
}

// A StoredPlane is a plane of a format as the table of layouts has it.
struct StoredPlane {
    std::string component;
    int bits, blockWidth, blockHeight, blockBytes, start;

    bool isChroma() const { return component[0] == 'c'; }
    // Returns how many samples of a linear row it takes from one of the plane's to the next.
    int step() const { return component == "cb" || component == "cr" ? 2 : 1; }

    // Returns the value that the frame stores for sample x of row y, if a row has that many
    // samples.
    int at(Frame& frame, int x, int y, int samples) const {
        const int block = y / blockHeight * (samples / blockWidth) + x / blockWidth;
        const int sample = y % blockHeight * blockWidth + x % blockWidth;
        return bitsAt(frame.bytes(), (start + block * blockBytes) * 8LL + sample * bits, bits);
    }
};

// Returns the number of samples of the plane that have another value in the linear frame.
int countWrongSamples(const StoredPlane& plane, Frame& src, Frame& linear) {
    const int samples =
        plane.component == "rgb" ? linear.size / src.height : src.width / plane.step();
    const int firstRow = plane.isChroma() ? src.height : 0;
    const int rows = plane.isChroma() ? src.height / 2 : src.height;
    const int unusedBits = plane.bits - (linear.format == Color::P010 ? 10 : 8);
    int wrong = 0;
    for (int i = 0; i < samples * rows; ++i) {
        const int x = i % samples;
        const int y = i / samples;
        const int index = ((firstRow + y) * samples + x) * plane.step();
        wrong += linear.sample(index + (plane.component == "cr" ? 1 : 0)) !=
                 plane.at(src, x, y, samples) >> unusedBits;
    }
    return wrong;
}

TEST(Engine, EverySampleIsReadWhereItIsStored) {
    std::map<std::string, std::set<std::string>> components;
    for (const auto& [name, width, height, component, bits, blockWidth, blockHeight, blockBytes,
                      start] :
         table<std::string, int, int, std::string, int, int, int, int, int>("layouts.txt")) {
        Frame src(Color::getColorFormatFromStr(name), width, height);
        SCOPED_TRACE(nameOf(src) + ", " + component);
        fillRandomly(src);
        Frame linear(Color::getDefaultOutputFormat(src.format), width, height);
        ASSERT_EQ(convert(src, 0, linear, 0), 0);
        // The rest is headers and padding. A format with more chroma than its linear format would
        // lose samples.
        const int samples = linear.format == Color::P010 ? linear.size / 2 : linear.size;
        EXPECT_GT(samples * bits, src.size * 8 * 0.8) << "bits of the frame are samples";
        const StoredPlane plane = {component, bits, blockWidth, blockHeight, blockBytes, start};
        EXPECT_EQ(countWrongSamples(plane, src, linear), 0) << "samples";
        components[name].insert(component);
    }
    const std::set<std::set<std::string>> all = {{"rgb"}, {"luma", "cbcr"}, {"luma", "cb", "cr"}};
    for (const auto& [name, found] : components) {
        EXPECT_EQ(all.count(found), 1U) << name << " lacks a plane in tests/data/layouts.txt";
    }
}

using Color3 = std::array<double, 3>;  // R, G and B from 0 to 1, or samples of Y, Cb and Cr

// A Space computes colors in floating point, as the standard of a color space defines them.
struct Space {
    double kr, kb, black, luma, neutral, chroma;

    Space(int space, int bits) {
        static const auto rows =
            table<std::string, std::string, double, double, std::string>("spaces.txt");
        const auto& [name, profile, red, blue, range] = rows.at(static_cast<size_t>(space));
        const bool full = range == "full";
        const double unit = 1 << (bits - 8);
        kr = red;
        kb = blue;
        black = full ? 0 : 16 * unit;
        luma = full ? 256 * unit - 1 : 219 * unit;
        neutral = 128 * unit;
        chroma = full ? 256 * unit - 1 : 224 * unit;
    }

    Color3 toRgb(double y, double cb, double cr) const {
        const double l = (y - black) / luma;
        const double r = l + 2 * (1 - kr) * (cr - neutral) / chroma;
        const double b = l + 2 * (1 - kb) * (cb - neutral) / chroma;
        return {r, (l - kr * r - kb * b) / (1 - kr - kb), b};
    }

    Color3 fromRgb(const Color3& rgb) const {
        const auto [r, g, b] = rgb;
        const double l = kr * r + (1 - kr - kb) * g + kb * b;
        return {black + l * luma, neutral + (b - l) / (2 * (1 - kb)) * chroma,
                neutral + (r - l) / (2 * (1 - kr)) * chroma};
    }
};

int bitsOf(const Frame& frame) { return frame.format == Color::P010 ? 10 : 8; }

// Calls f(frame) for random frames of NV12 and P010: a large one, and small ones of even and odd
// sizes.
template <typename F>
void forEachFrame(F f) {
    for (const auto format : {Color::NV12, Color::P010}) {
        for (int i = 0; i < 65; ++i) {
            Frame frame(format, i == 64 ? 256 : 1 + i % 8, i == 64 ? 256 : 1 + i / 8 + i % 3 * 31);
            fillRandomly(frame);
            f(frame);
        }
    }
}

// Returns the color of a pixel, with the nearest chroma. A frame of one line or column has no
// chroma, so its pixels are gray.
Color3 colorOf(Frame& frame, const Space& space, int x, int y) {
    const int luma = frame.sample(y * frame.width + x);
    if (frame.width == 1 || frame.height == 1) {
        return space.toRgb(luma, space.neutral, space.neutral);
    }
    const int row = frame.height + std::min(y / 2, frame.height / 2 - 1);
    const int cb = row * frame.width + std::min(x / 2, frame.width / 2 - 1) * 2;
    return space.toRgb(luma, frame.sample(cb), frame.sample(cb + 1));
}

// A Deviation says how far samples are from the exact ones.
struct Deviation {
    double worst = 0;
    int unequal = 0, samples = 0;

    void add(int sample, double exact, double top) {
        const double wanted = std::round(std::clamp(exact, 0.0, top));
        worst = std::max(worst, std::abs(sample - wanted));
        unequal += sample != static_cast<int>(wanted);
        ++samples;
    }
    void expectRoundingAlone(const std::string& what) const {
        EXPECT_TRUE(worst <= 1 && unequal <= 6 + samples / 1000)
            << what << ": " << unequal << " of " << samples << " samples, off by up to " << worst;
    }
};

TEST(EngineColor, EverySpaceToRgbaIsExactToTheRounding) {
    forEachFrame([](Frame& frame) {
        Frame picture(Color::RGBA8888, frame.width, frame.height);
        for (const ColorSpaceInfo& info : colorSpaceInfos) {
            const Space space(info.value, bitsOf(frame));
            ASSERT_EQ(convert(frame, info.value, picture, 0), 0);
            Deviation deviation;
            for (int i = 0; i < picture.size; ++i) {
                const Color3 rgb = colorOf(frame, space, i / 4 % frame.width, i / 4 / frame.width);
                const double exact = i % 4 == 3 ? 1 : rgb.at(static_cast<size_t>(i % 4));
                deviation.add(picture.bytes()[i], exact * 255, 255);
            }
            deviation.expectRoundingAlone(nameOf(frame) + ", " + info.name);
        }
    });
}

Deviation deviationOf(Frame& changed, const Space& to, Frame& frame, const Space& from) {
    const int width = frame.width;
    const double top = (1 << bitsOf(frame)) - 1;
    Deviation deviation;
    for (int i = 0; i < width * frame.height; ++i) {
        const Color3 exact = to.fromRgb(colorOf(frame, from, i % width, i / width));
        deviation.add(changed.sample(i), exact[0], top);
    }
    for (int i = 0; i < (width / 2) * (frame.height / 2); ++i) {
        const int x = i % (width / 2) * 2;
        const int row = i / (width / 2);
        const Color3 exact = to.fromRgb(colorOf(frame, from, x, row * 2));
        deviation.add(changed.sample((frame.height + row) * width + x), exact[1], top);
        deviation.add(changed.sample((frame.height + row) * width + x + 1), exact[2], top);
    }
    return deviation;
}

TEST(EngineColor, EveryPairOfSpacesIsExactToTheRounding) {
    forEachFrame([](Frame& frame) {
        Frame changed(frame.format, frame.width, frame.height);
        for (size_t pair = 0; pair < colorSpaceInfos.size() * colorSpaceInfos.size(); ++pair) {
            const ColorSpaceInfo& from = colorSpaceInfos.at(pair % colorSpaceInfos.size());
            const ColorSpaceInfo& to = colorSpaceInfos.at(pair / colorSpaceInfos.size());
            ASSERT_EQ(convert(frame, from.value, changed, to.value), 0);
            deviationOf(changed, Space(to.value, bitsOf(frame)), frame,
                        Space(from.value, bitsOf(frame)))
                .expectRoundingAlone(nameOf(frame) + ", " + from.name + " to " + to.name);
        }
    });
}

TEST(EngineColor, RgbToRgbaScalesDepthAndAlpha) {
    for (const auto& [format, bits, alphaBits] :
         {std::tuple(Color::RGB888, 8, 0), std::tuple(Color::RGBA1010102, 10, 2)}) {
        Frame src(format, 512, 256);
        Frame picture(Color::RGBA8888, src.width, src.height);
        fillRandomly(src);
        ASSERT_EQ(convert(src, 0, picture, 3), 0);
        Deviation deviation;
        for (int i = 0; i < picture.size; ++i) {
            const int first = i / 4 * (3 * bits + alphaBits) + i % 4 * bits;
            const int count = i % 4 == 3 ? alphaBits : bits;
            const int value = bitsAt(src.bytes(), first, count);
            deviation.add(picture.bytes()[i], count == 0 ? 255 : value * 255.0 / ((1 << count) - 1),
                          255);
        }
        EXPECT_EQ(deviation.unequal, 0) << "samples of " << nameOf(src);
    }
}

// The engine converts colors while it unpacks a layout. The result is the same if it unpacks to the
// linear format first and converts the colors of that.
TEST(Engine, StraightAndByTheDefaultOutputGiveTheSame) {
    for (int i = 1; i < Color::COLOR_FORMAT_COUNT; ++i) {
        const auto format = static_cast<Color::ColorFormat>(i);
        const bool anySize = colorFormatInfo(format).heightAlignment <= 2;
        for (const auto& [width, height] :
             {std::pair(128, 192), std::pair(67, anySize ? 37 : 70)}) {
            const auto size = anySize ? std::pair(width, height)
                                      : Color::getDefaultAlignedSize(width, height, format);
            Frame src(format, size.first, size.second);
            SCOPED_TRACE(nameOf(src));
            fillRandomly(src);
            Frame linear(Color::getDefaultOutputFormat(format), src.width, src.height);
            ASSERT_EQ(convert(src, 0, linear, 0), 0);
            for (const auto output : {Color::RGBA8888, linear.format}) {
                Frame straight(output, src.width, src.height);
                Frame byLinear(output, src.width, src.height);
                ASSERT_EQ(convert(src, Color::BT709_LIMIT, straight, Color::BT2020_FULL), 0);
                ASSERT_EQ(convert(linear, Color::BT709_LIMIT, byLinear, Color::BT2020_FULL), 0);
                EXPECT_TRUE(std::equal(straight.bytes(), straight.bytes() + straight.size,
                                       byLinear.bytes()))
                    << "to " << nameOf(straight);
            }
        }
    }
}

TEST(Engine, RefusesWhatItCannotDo) {
    for (const auto& [from, to, w, h] :
         table<std::string, std::string, int, int>("refused-jobs.txt")) {
        Frame src(Color::getColorFormatFromStr(from), w, h);
        Frame dst(Color::getColorFormatFromStr(to), w, h);
        EXPECT_EQ(convert(src, 0, dst, 0), -1) << from << " to " << to << ", " << w << " x " << h;
    }
    Frame frame(Color::NV12, 16, 16);
    EXPECT_EQ(convert(frame, 0, frame, 0), -1) << "one buffer";
    Frame widest(Color::NV12, 1 << 20, 2);
    Frame picture(Color::RGBA8888, widest.width, widest.height);
    EXPECT_EQ(convert(widest, 0, picture, 0), 0) << nameOf(widest);
}

// A descriptor that can only be written shows whether the engine calls mmap for the source: that
// call fails.
TEST(Engine, CallsMmapOnlyWhereNobodyHasAndOnlyForTheJob) {
    constexpr int SIDE = 1920;
    constexpr int SIZE = SIDE * SIDE * 3 / 2;
    DmabufMemory src(SIZE, -1);
    DmabufMemory dst(SIZE, -1);
    const int writeOnly =
        open(("/proc/self/fd/" + std::to_string(src.getFd())).c_str(), O_WRONLY | O_CLOEXEC);
    const auto run = [&](int fd) {
        return ColorConvert().convertFrame(
            {{Color::NV12, 0, SIDE, SIDE, fd}, {Color::NV12, 0, SIDE, SIDE, dst.getFd()}});
    };
    EXPECT_EQ(run(src.getFd()), 0);
    EXPECT_EQ(readFile("/proc/self/maps").find("/memfd:vex_mm"), std::string::npos)
        << "the engine's munmap";
    EXPECT_EQ(run(writeOnly), -1) << "the engine's mmap fails";
    void* part = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, src.getFd(), 0);
    EXPECT_EQ(run(writeOnly), -1) << "mapped in part";
    munmap(part, 4096);
    src.data();
    EXPECT_EQ(run(writeOnly), 0) << "mapped by its owner";
    void* readOnly = mmap(nullptr, SIZE, PROT_READ, MAP_SHARED, dst.getFd(), 0);
    EXPECT_EQ(run(writeOnly), 0) << "a destination that only its owner reads";
    munmap(readOnly, SIZE);
    src.release();
    EXPECT_EQ(run(writeOnly), -1) << "mapped no longer";
    close(writeOnly);
}

// Runs a job with these sides, and returns what the engine returns, 0 if the frame is converted.
int runJob(Color::ColorConvertBuffer (&sides)[2], unsigned jobOffset = 0, int cropped = 0) {
    auto& [src, dst] = sides;
    const auto code = [](const auto& side) {
        return static_cast<PX_COLOR_ENUM>(colorFormatInfo(side.mFormat).pxColor);
    };
    static PxAsyncBlitStream stream;
    unsigned int job = 0;
    int fence = -1;
    timeval now = {};
    PxRect target = {0, 0, 0, 0, dst.mWidth, 0, dst.mHeight, 0};
    EXPECT_EQ(stream.createJob(job, fence), 0);
    stream.setConfigBegin(job + jobOffset);
    stream.setSrcBuffer(src.mFd, src.mPlaneSize, src.mPlaneCount, -1);
    stream.setSrcConfig(src.mWidth, src.mHeight, src.mYPitch, src.mUVPitch, code(src),
                        static_cast<PX_PROFILE_ENUM>(src.mColorSpace), {}, {}, false, 0);
    stream.setSrcCrop(0, {0, 0, 0, 0, src.mWidth - cropped, 0, src.mHeight, 0});
    stream.setDstBuffer(0, dst.mFd, dst.mPlaneSize, dst.mPlaneCount, -1);
    stream.setDstConfig(0, dst.mWidth, dst.mHeight, dst.mYPitch, dst.mUVPitch, code(dst),
                        PX_PROFILE_ENUM{}, {}, &target, {}, false, 0, 0);
    stream.setConfigEnd();
    const int status = stream.invalidate(&now);
    EXPECT_EQ(sync_wait(fence, 0), status == 0 ? 0 : -1);
    close(fence);
    return status;
}

// This shows that the catalogue's sizes and pitches are those of the engine. In 64 x 64 no plane of
// any format has padding, with which a smaller size could do.
TEST(Engine, RefusesAJobWithAnyWrongNumber) {
    for (int i = 1; i < Color::COLOR_FORMAT_COUNT; ++i) {
        Frame src(static_cast<Color::ColorFormat>(i), 64, 64);
        Frame linear(Color::getDefaultOutputFormat(src.format), 64, 64);
        const bool hasHeaders =
            Color::isSeparate(src.format) || nameOf(src).find("AFBC") != std::string::npos;
        Color::ColorConvertBuffer sides[] = {src.side(0), linear.side(0)};
        colorFormatInfo(src.format).calculate(sides[0]);
        colorFormatInfo(linear.format).calculate(sides[1]);
        EXPECT_EQ(runJob(sides), 0) << nameOf(src);
        EXPECT_NE(runJob(sides, 1), 0) << nameOf(src) << ", of another job";
        EXPECT_NE(runJob(sides, 0, 1), 0) << nameOf(src) << ", cropped";
        const auto refusesChanged = [&](auto& number, const char* name) {
            const auto right = number;
            for (const uint32_t change : {1U, ~0U, 1U << 30, 1U << 31}) {
                number = static_cast<std::decay_t<decltype(number)>>(static_cast<uint32_t>(right) +
                                                                     change);
                EXPECT_NE(runJob(sides), 0) << nameOf(src) << ", " << name << " " << number;
            }
            number = right;
        };
        for (auto& side : sides) {
            refusesChanged(side.mWidth, "width");
            refusesChanged(side.mHeight, "height");
            refusesChanged(side.mYPitch, "pitch of luma");
            refusesChanged(side.mPlaneCount, "number of plane sizes");
            // A size that includes headers may be larger than the samples need.
            for (uint32_t plane = 0; !hasHeaders && plane < side.mPlaneCount; ++plane) {
                refusesChanged(side.mPlaneSize[plane], "plane size");
            }
            if (side.mUVPitch != 0) {
                refusesChanged(side.mUVPitch, "pitch of chroma");
            }
        }
        sides[0].mColorSpace = Color::COLOR_SPACE_COUNT;
        EXPECT_NE(runJob(sides), 0) << nameOf(src) << ", of an unknown profile";
        sides[0] = src.side(0);
        sides[0].mFd = -1;
        EXPECT_NE(runJob(sides), 0) << nameOf(src) << ", without a buffer";
    }
}

TEST(Engine, ClosesTheFenceOfARefusedJob) {
    Frame src(Color::NV12, 64, 64);
    Frame dst(Color::NV12, 64, 64);
    Color::ColorConvertBuffer sides[] = {src.side(0), dst.side(0)};
    EXPECT_NE(runJob(sides, 1), 0);
    const size_t open = openDescriptors();
    EXPECT_NE(runJob(sides, 1), 0);
    EXPECT_EQ(openDescriptors(), open);
}

// Rows and planes may be farther apart than their samples need, but not by a part of a sample.
TEST(Engine, RefusesSamplesThatAreNotAligned) {
    Frame src(Color::P010, 64, 80);
    Frame linear(Color::P010, 64, 64);
    Color::ColorConvertBuffer sides[] = {src.side(0), linear.side(0)};
    colorFormatInfo(Color::P010).calculate(sides[1]);
    for (const auto& [pitch, luma, refused] :
         {std::tuple(130, 10240U, false), std::tuple(129, 10240U, true),
          std::tuple(130, 10239U, true)}) {
        sides[0] = {Color::P010, 0, 64, 64, src.memory.getFd(), {luma, 5120, 0}, pitch, pitch, 2};
        EXPECT_EQ(runJob(sides) != 0, refused)
            << "pitch " << pitch << ", " << luma << " bytes of luma";
    }
}

}  // namespace
