// PNG output, with ISA-L and as the library comes: limits, memory that runs short. What the
// pictures hold is pictures.py's.
#include <android/log.h>
#include <sys/resource.h>

#include <climits>
#include <csignal>
#include <cstdarg>
#include <filesystem>
#include <random>

#include "TestFiles.h"
#include "fileutils/FileUtils.h"

namespace {

std::string logged;
size_t largestAllocation = 0;   // that the writer asked for
size_t mostAllowed = 1U << 30;  // of an allocation
size_t untilFailure = 0;        // of an allocation, whatever its size; 0 for none

}  // namespace

extern "C" {

int __android_log_print(int /*prio*/, const char* tag, const char* fmt, ...) {
    char text[512];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    logged += tag + (": " + std::string(text));
    return 1;
}

// The linker sends the writer's allocations here.
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size) {
    largestAllocation = std::max(largestAllocation, size);
    return size > mostAllowed || --untilFailure == 0 ? nullptr : __real_malloc(size);
}

}  // extern "C"

namespace {

class PngTest : public testing::Test {
  protected:
    ~PngTest() override { remove(mPath.c_str()); }

    int write(int width, int height, const unsigned char* pixels) {
        logged.clear();
        largestAllocation = 0;
        const int result = FileUtils::writeToPNG(mPath, width, height, pixels, 4);
        EXPECT_EQ(logged, result == 1 ? "" : failureOf(width, height));
        return result;
    }

    std::string failureOf(int width, int height) const {
        return "VexConverter-FileUtils: writeToPNG: Failed to write file: " + mPath + ", " +
               std::to_string(width) + " x " + std::to_string(height) + "\n";
    }

    std::string mPath = testFolder() + VARIANT ".png";
};

constexpr int SIDE = 64;
const bool FAST = std::string(VARIANT) == "fast";

std::vector<unsigned char> noise() {
    std::mt19937 random(3);
    std::vector<unsigned char> pixels(size_t{SIDE} * SIDE * 4);
    std::generate(pixels.begin(), pixels.end(),
                  [&] { return static_cast<unsigned char>(random()); });
    return pixels;
}

// All filtered bytes and what comes on top must count in int; the encoder starts with memory for
// them, which no line below gets here.
TEST_F(PngTest, RefusesOnlyWhatTheEncoderCannotCount) {
    const int lines = FAST ? 32513 : 21844;  // of 65537 filtered bytes
    const auto* const pixels = reinterpret_cast<const unsigned char*>("pixels");
    EXPECT_EQ(write(16384, lines, pixels), 0);
    EXPECT_GE(largestAllocation, 65537U * static_cast<size_t>(lines));
    EXPECT_EQ(write(16384, lines + 1, pixels), 0);
    EXPECT_EQ(largestAllocation, 0U);
    // A row's sum of bytes up to 128 each.
    EXPECT_EQ(write(4194304, 1, pixels) + write(0x7FFFFFFF, 0x7FFFFFFF, pixels), 0);
    for (const auto& [none, components] : {std::pair(0, 0), std::pair(-1, 5)}) {
        EXPECT_EQ(write(none, 5, pixels) + write(5, none, pixels), 0);
        EXPECT_EQ(FileUtils::writeToPNG(mPath, 1, 1, pixels, components), 0);
    }
    const std::vector<unsigned char> longest(INT_MAX / 128);
    EXPECT_EQ(FileUtils::writeToPNG(mPath, INT_MAX / 128, 1, longest.data(), 1), 1);
}

// With ISA-L one allocation after the other fails, but for the fifth and last, which was tried just
// before. As it comes, the library looks for all it needs first; none gets more than so many bytes.
TEST_F(PngTest, MemoryMayRunShort) {
    const std::vector<unsigned char> pixels = noise();
    for (size_t n = 1; n < 100 && !std::filesystem::exists(mPath); ++n) {
        (FAST ? untilFailure : mostAllowed) = FAST ? n % 5 : n << 16;
        const int result = write(SIDE, SIDE, pixels.data());
        EXPECT_EQ(result, n > (FAST ? 4 : 65) ? 1 : 0) << n;
        EXPECT_EQ(result == 1, std::filesystem::exists(mPath)) << n;
    }
    mostAllowed = 1U << 30;
}

TEST_F(PngTest, FilesThatCannotBeWrittenInFullAreFailures) {
    const std::vector<unsigned char> pixels = noise();
    EXPECT_EQ(write(SIDE, SIDE, pixels.data()), 1);
    EXPECT_EQ(largestAllocation, FAST ? 16639U : 4268576U);
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {100, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(write(SIDE, SIDE, pixels.data()), 0);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(FileUtils::writeToPNG("/dev/null", SIDE, SIDE, pixels.data(), 4), 1);
    mPath = "/missing/out.png";
    EXPECT_EQ(write(SIDE, SIDE, pixels.data()), 0);
}

}  // namespace
