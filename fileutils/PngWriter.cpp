// PNG output: the implementation of the picture library, stb_image_write. With VEX_ISAL, the hooks
// that the library documents replace its allocations and its slow loops. Without, it is as it
// comes.
#undef NDEBUG  // The library's growing arrays check malloc only with assert.
#include <android/log.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fileutils/FileUtils.h"

#ifdef VEX_ISAL
#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <new>

namespace {

void* takeBlock(size_t size);
void releaseBlock(const void* block);
unsigned char* compressFrame(unsigned char* data, int size, int* compressedSize);

// The library's Paeth predictor computes in int. Where all three arguments are samples, overload
// resolution prefers this one to it, and twice as many values of 16 bits fit a vector.
template <typename Sample>
Sample stbiw__paeth(Sample left, Sample above, Sample corner) {  // NOLINT(*-reserved-identifier)
    const auto distance = [](int value) {
        return static_cast<int16_t>(value < 0 ? -value : value);
    };
    const int16_t toLeft = distance(above - corner);
    const int16_t toAbove = distance(left - corner);
    const int16_t toCorner = distance(left + above - 2 * corner);
    const Sample nearer = toAbove < toLeft ? above : left;
    return toCorner < std::min(toLeft, toAbove) ? corner : nearer;
}

// The library adds up the magnitudes of a row's filtered bytes. Processors have an instruction that
// adds up differences between bytes, and compilers use it where each byte is subtracted from the
// middle of their range, unless they know that the middle is a constant.
[[gnu::used]] unsigned char middle = 128;
int abs(signed char filtered) {
    return std::abs(static_cast<unsigned char>(filtered + 128) - middle);
}

}  // namespace

#define STBIW_MALLOC(size) takeBlock(size)
#define STBIW_FREE(block) releaseBlock(block)
#define STBIW_REALLOC(block, size) nullptr  // Only the library's own compressor calls it.
// Compression is nine tenths of the library's time.
#define STBIW_ZLIB_COMPRESS(data, size, compressedSize, quality) \
    compressFrame(data, size, compressedSize)
// The library computes the checksum a byte at a time, a large part of the time that remains.
#define STBIW_CRC32(bytes, size) crc32_gzip_refl(0, bytes, static_cast<uint64_t>(size))
// The filters take most of the rest, so they are inlined into their caller and compiled for wider
// vectors too. Clones are chosen before AddressSanitizer is ready, so its builds have none.
#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define STBIWDEF static __attribute__((flatten, target_clones("arch=x86-64-v4", "avx2", "default")))
#endif
#endif

namespace {

bool writtenInFull = false;  // The picture that was closed last is whole.

void closePicture(FILE* file) {
    const bool failed = ferror(file) != 0;
    writtenInFull = fclose(file) == 0 && !failed;
}

}  // namespace

// The library ignores the results of fwrite and fclose. Closing the file by this function shows
// whether they failed, whatever kind of file it is.
#define fclose closePicture
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>
#undef fclose

namespace {

#ifdef VEX_ISAL

constexpr int BEFORE_STREAM = 41;  // bytes of the PNG's signature and first chunks
constexpr int AFTER_STREAM = 16;   // bytes of its checksum and last chunk
constexpr int64_t MAX_COMPRESSED = INT_MAX;

// More than compression gives: data that doesn't shrink is stored in blocks of 65,535 bytes, each
// with a header of 5. zlib adds a header and a checksum, 6 bytes together.
int64_t boundOf(int64_t filtered) {
    return filtered + filtered / 128 + BEFORE_STREAM + 5 + 6 + AFTER_STREAM;
}

// One mapping holds ISA-L's state, which is too large for small stacks, and after it two blocks.
// The library takes the first for the filtered bytes, and the second for a row and later the
// picture. The stream is compressed to its place in the picture, so that copying it there takes no
// time; the second block is therefore given out again while the stream is in it. The mapping is
// kept for the next picture, because the page faults of new memory take a sixth of a picture's
// time.
constexpr size_t alignedSize(size_t size) { return (size + 63) / 64 * 64; }
constexpr size_t STATE_SIZE = alignedSize(sizeof(isal_zstream));
unsigned char* mapping = nullptr;
size_t blockSize = 0;  // 0: nothing is mapped
std::array<bool, 2> blockTaken = {};

// Makes the mapping as large as the picture needs; false when there is no memory for it. A mapping
// with more than twice the memory that the picture needs is replaced by a smaller one.
bool reserveMemory(int64_t filtered) {
    // ISA-L's choice of matches depends on bits 16 to 47 of the state's address. The hint makes the
    // address, and so the picture's bytes, the same in every process where it is free.
    constexpr uintptr_t HINT = 0x10'0000'0000;
    const size_t needed = alignedSize(static_cast<size_t>(boundOf(filtered)));
    if (blockSize < needed || blockSize / 2 > needed) {
        if (blockSize != 0) {
            munmap(mapping, STATE_SIZE + 2 * blockSize);
        }
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the address is a number
        void* const mapped = mmap(reinterpret_cast<void*>(HINT), STATE_SIZE + 2 * needed,
                                  PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        mapping = static_cast<unsigned char*>(mapped);
        blockSize = mapped == MAP_FAILED ? 0 : needed;
    }
    blockTaken = {};
    return blockSize != 0;
}

void* takeBlock(size_t size) {
    if ((blockTaken[0] && blockTaken[1]) || size > blockSize) {
        return nullptr;
    }
    const size_t index = blockTaken[0] || blockTaken[1] ? 1 : 0;
    blockTaken[index] = true;
    return mapping + STATE_SIZE + index * blockSize;
}

void releaseBlock(const void* block) { blockTaken[block == mapping + STATE_SIZE ? 0 : 1] = false; }

// Returns a zlib stream of the data, in a block that the library releases, or null.
unsigned char* compressFrame(unsigned char* data, int size, int* compressedSize) {
    // Level 0 saves a tenth of the time and makes files a quarter larger. 2 makes the same files
    // more slowly; 3 takes up to 2.6 times as long for a fiftieth less.
    constexpr int LEVEL = 1;
    const auto bound = static_cast<uint32_t>(boundOf(size));
    auto* const picture = static_cast<unsigned char*>(takeBlock(bound));
    if (picture == nullptr) {
        return nullptr;
    }
    auto* const stream = picture + BEFORE_STREAM;
    auto* const state = new (mapping) isal_zstream{};
    isal_deflate_stateless_init(state);
    state->level = LEVEL;
    state->gzip_flag = IGZIP_ZLIB;
    state->next_in = data;
    state->avail_in = static_cast<uint32_t>(size);
    state->next_out = stream;
    state->avail_out = bound - BEFORE_STREAM - AFTER_STREAM;
    const int status = isal_deflate_stateless(state);
    *compressedSize = static_cast<int>(state->total_out);
    return status == COMP_OK ? stream : nullptr;
}

#else

// The compressor writes at most 9 bits a byte, into an array whose size, an int, it doubles.
constexpr int64_t MAX_COMPRESSED = INT64_C(3) << 29;

int64_t boundOf(int64_t filtered) { return filtered / 8 * 9 + 64; }

// True when there is memory for all that the library allocates: the filtered bytes, the array
// before and after it is doubled, and the compressor's hash table.
bool reserveMemory(int64_t filtered) {
    const auto needed = static_cast<size_t>(4 * boundOf(filtered) + (4 << 20));
    void* volatile memory = malloc(needed);  // NOLINT(*-no-malloc): doesn't throw
    free(memory);                            // NOLINT(*-no-malloc)
    return memory != nullptr;
}

#endif

// True when the encoder has memory for the picture and no count of it overflows int: the sum of a
// row's filtered bytes, each at most 128, and the size of all rows, which start with a byte for the
// filter.
bool fitsEncoder(int width, int height, int components) {
    if (width <= 0 || height <= 0 || components < 1 || components > 4) {
        return false;
    }
    const int64_t row = int64_t{width} * components;
    if (row > INT_MAX / 128) {
        return false;
    }
    const int64_t filtered = (row + 1) * height;
    return boundOf(filtered) <= MAX_COMPRESSED && reserveMemory(filtered);
}

}  // namespace

int FileUtils::writeToPNG(std::string path, int width, int height, const unsigned char* pixels,
                          int components) {
    if (fitsEncoder(width, height, components) &&
        stbi_write_png(path.c_str(), width, height, components, pixels, 0) != 0 && writtenInFull) {
        return 1;
    }
    __android_log_print(ANDROID_LOG_ERROR, "VexConverter-FileUtils",
                        "writeToPNG: Failed to write file: %s, %d x %d\n", path.c_str(), width,
                        height);
    return 0;
}
