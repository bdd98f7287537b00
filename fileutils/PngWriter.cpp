// PNG output: the picture library's implementation, with the hooks that it documents and one for
// the result of its writes. With VEX_ISAL its slow loops are ISA-L's or wide vectors; without, it
// is as it comes.
#undef NDEBUG  // where its own growing arrays get no memory, only its assertion stops it
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

#include <array>
#include <memory>

namespace {

void* takeBlock(size_t size);
void releaseBlock(const void* block);
unsigned char* compressFrame(unsigned char* data, int size, int* compressedSize);

}  // namespace

#define STBIW_MALLOC(size) takeBlock(size)
#define STBIW_FREE(block) releaseBlock(block)
#define STBIW_REALLOC(block, size) nullptr  // only the library's own compressor would call it
// Compression is nine tenths of the library's time.
#define STBIW_ZLIB_COMPRESS(data, size, compressedSize, quality) \
    compressFrame(data, size, compressedSize)
// The library's checksum goes a byte at a time, which then shows.
#define STBIW_CRC32(bytes, size) crc32_gzip_refl(0, bytes, static_cast<uint64_t>(size))
// The filter loops are the rest: flattened into their caller and compiled for wider vectors too. A
// resolver runs before a sanitizer is ready, so such builds have no clones.
#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define STBIWDEF static __attribute__((flatten, target_clones("arch=x86-64-v4", "avx2", "default")))
#endif
#endif

namespace {

bool writtenInFull = false;  // the file that was closed last

int closePicture(FILE* file) {
    const bool failed = ferror(file) != 0;
    writtenInFull = fclose(file) == 0 && !failed;
    return 0;
}

}  // namespace

// The library ignores the results of fwrite and fclose, so it closes the file through this check.
#define fclose closePicture
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>
#undef fclose

namespace {

#ifdef VEX_ISAL

constexpr int64_t AROUND = 63;  // bytes of zlib's header and checksum, and of the picture's chunks
constexpr int64_t MOST_COMPRESSED = INT_MAX;

// More than compression gives, which stores what doesn't get smaller in blocks with short headers.
int64_t boundOf(int64_t filtered) { return filtered + filtered / 128 + AROUND; }

struct FreeMemory {
    void operator()(unsigned char* memory) const { free(memory); }  // NOLINT(*-no-malloc)
};

// The library holds at most two blocks at a time: the filtered bytes and a row or the stream, then
// the stream and the picture. Both are kept for the next picture, because the page faults of new
// memory take a sixth of a picture's time.
std::unique_ptr<unsigned char, FreeMemory> blocks;
size_t blockSize = 0;
std::array<bool, 2> blockTaken = {};

// False when there is no memory for the blocks. They are replaced where they are too small, or more
// than twice as large as the picture needs.
bool reserveMemory(int64_t filtered) {
    const auto needed = static_cast<size_t>(boundOf(filtered));
    if (blockSize < needed || blockSize / 2 > needed) {
        blocks.reset();  // so that the old and the new ones are never there at once
        blocks.reset(
            static_cast<unsigned char*>(malloc(2 * needed)));  // NOLINT(*-no-malloc): doesn't throw
        blockSize = blocks == nullptr ? 0 : needed;
    }
    blockTaken = {};
    return blocks != nullptr;
}

void* takeBlock(size_t size) {
    const size_t index = blockTaken[0] ? 1 : 0;
    if (blockTaken[index] || size > blockSize) {
        return nullptr;
    }
    blockTaken[index] = true;
    return blocks.get() + index * blockSize;
}

void releaseBlock(const void* block) { blockTaken[block == blocks.get() ? 0 : 1] = false; }

// The compressor's state, null when there is no memory for it. ISA-L's hash table starts with bits
// 16 to 47 of the state's address, so they decide which matches it finds. At one address in every
// process the same picture always gives the same bytes; where that address is taken, any will do.
isal_zstream* compressorState() {
    constexpr uintptr_t ADDRESS = 0x10'0000'0000;
    static void* state = MAP_FAILED;
    if (state == MAP_FAILED) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the address is a number
        state = mmap(reinterpret_cast<void*>(ADDRESS), sizeof(isal_zstream), PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    }
    return state == MAP_FAILED ? nullptr : static_cast<isal_zstream*>(state);
}

// A zlib stream of the data in memory that the library frees; null when there is none.
unsigned char* compressFrame(unsigned char* data, int size, int* compressedSize) {
    // Level 0 saves a tenth of the time and makes files a quarter larger. 2 makes the same files
    // more slowly; 3 takes up to 2.6 times as long for a fiftieth less.
    constexpr int LEVEL = 1;
    const auto bound = static_cast<uint32_t>(boundOf(size));
    isal_zstream* const state = compressorState();
    void* const stream = takeBlock(bound);
    if (state == nullptr || stream == nullptr) {
        return nullptr;
    }
    memset(state, 0, sizeof *state);
    isal_deflate_stateless_init(state);
    state->level = LEVEL;
    state->gzip_flag = IGZIP_ZLIB;
    state->next_in = data;
    state->avail_in = static_cast<uint32_t>(size);
    state->next_out = static_cast<unsigned char*>(stream);
    state->avail_out = bound;
    const int status = isal_deflate_stateless(state);
    *compressedSize = static_cast<int>(state->total_out);
    return status == COMP_OK ? static_cast<unsigned char*>(stream) : nullptr;
}

#else

// The compressor's codes take at most 9 bits a byte, in an array that it doubles in int.
constexpr int64_t MOST_COMPRESSED = INT64_C(3) << 29;

int64_t boundOf(int64_t filtered) { return filtered / 8 * 9 + 64; }

// True when the memory is there that the library is about to ask for: the filtered bytes, the array
// as it is doubled, old and new, and the compressor's hash table.
bool reserveMemory(int64_t filtered) {
    const auto needed = static_cast<size_t>(4 * boundOf(filtered) + (4 << 20));
    void* volatile memory = malloc(needed);  // NOLINT(*-no-malloc): doesn't throw, and is freed
    free(memory);                            // NOLINT(*-no-malloc)
    return memory != nullptr;
}

#endif

// True when the encoder can count the picture's bytes, and has the memory for them: the sum of a
// row's filtered bytes, up to 128 each, and of all rows, with a byte each for their filter.
bool fitsEncoder(int width, int height, int components) {
    if (width <= 0 || height <= 0 || components < 1 || components > 4) {
        return false;
    }
    const int64_t row = int64_t{width} * components;
    if (row > INT_MAX / 128) {
        return false;
    }
    const int64_t filtered = (row + 1) * height;
    return boundOf(filtered) <= MOST_COMPRESSED && reserveMemory(filtered);
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
