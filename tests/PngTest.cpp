// These tests check PNG output with ISA-L and without it: limits, memory, files that can't be
// written. pictures.py tests what the pictures hold.
#include <android/log.h>

#include <climits>
#include <cstdarg>
#include <filesystem>
#include <random>

#include "TestFiles.h"
#include "fileutils/FileUtils.h"

namespace {

std::string logged;
size_t largestAllocation = 0;     // that the writer asked for
size_t maxAllocation = 1U << 30;  // larger ones fail

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
bool isAllowed(size_t size) {
    largestAllocation = std::max(largestAllocation, size);
    return size <= maxAllocation;
}

void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size) { return isAllowed(size) ? __real_malloc(size) : nullptr; }

}  // extern "C"

namespace {

const bool FAST = std::string(VARIANT) == "fast";
constexpr int SIDE = 64;
const std::vector<unsigned char> NOISE = [] {
    std::vector<unsigned char> noise(size_t{SIDE} * SIDE * 4);
    std::generate(noise.begin(), noise.end(),
                  [random = std::mt19937()]() mutable { return random() & 0xFF; });
    return noise;
}();

class PngTest : public testing::Test {
  protected:
    ~PngTest() override { remove(mPath.c_str()); }

    int write(int width, int height, const unsigned char* pixels = NOISE.data()) {
        logged.clear();
        largestAllocation = 0;
        const int result = FileUtils::writeToPNG(mPath, width, height, pixels, 4);
        const std::string size = std::to_string(width) + " x " + std::to_string(height);
        EXPECT_EQ(logged, result == 1
                              ? ""
                              : "VexConverter-FileUtils: writeToPNG: Failed to write file: " +
                                    mPath + ", " + size + "\n");
        return result;
    }

    std::string mPath = testFolder() + VARIANT ".png";
};

// The encoder counts the filtered bytes and their compressed copies in int. Without ISA-L, the
// writer tries to allocate memory for all of them before it starts. Here it gets no memory of this
// size.
TEST_F(PngTest, RefusesOnlyWhatTheEncoderCannotCount) {
    // These frames have the most filtered bytes that are taken, and one more. A filtered row has
    // one byte more than the row.
    const auto [width, lines] = FAST ? std::pair(44496, 11972) : std::pair(20005, 17891);
    const auto [wider, fewer] = FAST ? std::pair(62022, 8589) : std::pair(272800, 1312);
    const auto filtered = static_cast<size_t>((INT64_C(4) * width + 1) * lines);
    ASSERT_EQ((INT64_C(4) * wider + 1) * fewer, filtered + 1);
    const auto* const pixels = reinterpret_cast<const unsigned char*>("pixels");
    EXPECT_EQ(write(width, lines, pixels), 0);
    EXPECT_GE(largestAllocation, (FAST ? 1 : 4) * filtered);
    EXPECT_LE(largestAllocation, (FAST ? 2 : 5) * filtered);
    EXPECT_EQ(write(wider, fewer, pixels), 0);
    EXPECT_EQ(largestAllocation, 0U);
    // In the first picture a row's sum of bytes, each up to 128, is too large.
    EXPECT_EQ(write(4194304, 1, pixels) + write(0x7FFFFFFF, 0x7FFFFFFF, pixels), 0);
    for (const auto& [none, components] : {std::pair(0, 0), std::pair(-1, 5)}) {
        EXPECT_EQ(write(none, 5, pixels) + write(5, none, pixels), 0);
        EXPECT_EQ(FileUtils::writeToPNG(mPath, 1, 1, pixels, components), 0);
    }
    const std::vector<unsigned char> longest(INT_MAX / 128);
    EXPECT_EQ(FileUtils::writeToPNG(mPath, INT_MAX / 128, 1, longest.data(), 1), 1);
}

TEST_F(PngTest, MemoryMayRunShort) {
    EXPECT_EQ(write(SIDE, SIDE), 1);
    const size_t needed = largestAllocation;
    remove(mPath.c_str());
    for (const size_t limit : {size_t{0}, needed - 1}) {
        maxAllocation = limit;
        EXPECT_EQ(write(SIDE, SIDE), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(mPath));
    maxAllocation = 1U << 30;
}

TEST_F(PngTest, FilesThatCannotBeWrittenInFullAreFailures) {
    for (const auto& [file, result] :
         {std::pair("/dev/null", 1), std::pair("/dev/full", 0), std::pair("/missing/out.png", 0)}) {
        remove(mPath.c_str());
        std::filesystem::create_symlink(file, mPath);
        EXPECT_EQ(write(SIDE, SIDE) + write(1, 1), 2 * result) << file;
    }
}

}  // namespace
