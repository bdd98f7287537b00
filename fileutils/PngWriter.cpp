// For PNG output this file compiles the picture library, stb_image_write. With VEX_ISAL, the hooks
// that the library documents replace its slow loops. Without VEX_ISAL, the library's own loops
// stay.
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
#include <malloc.h>
#include <sys/mman.h>

namespace {

unsigned char* compressFrame(unsigned char* data, int size, int* compressedSize);

}  // namespace

// Compression is nine tenths of the library's time.
#define STBIW_ZLIB_COMPRESS(data, size, compressedSize, quality) \
    compressFrame(data, size, compressedSize)
// The library computes the checksum a byte at a time, a large part of the time that remains.
#define STBIW_CRC32(bytes, size) crc32_gzip_refl(0, bytes, static_cast<uint64_t>(size))
// The filters take most of the rest, so they are inlined into their caller and compiled for wider
// vectors too. Without that, photographs take 18 % longer and fractals 45 %. Clones are chosen
// before AddressSanitizer is ready, so its builds have none.
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

constexpr int64_t MAX_COMPRESSED = INT_MAX;

// This is more than compression gives. Data that doesn't shrink is stored in blocks of 65,535
// bytes, each with a header of 5 bytes. A 128th of the data is far more than all these headers
// take. zlib adds 6 bytes, and the PNG's signature and chunks add 57.
int64_t boundOf(int64_t filtered) { return filtered + filtered / 128 + 5 + 6 + 57; }

// Returns false if memory is short. Here it never does, because the library itself checks the
// allocations that remain. From now on freed memory stays in the process for the next picture,
// because the page faults of new memory take a sixth of a picture's time.
bool prepareMemory(int64_t /*filtered*/) {
    constexpr int ALL = 1 << 30;
    mallopt(M_MMAP_THRESHOLD, ALL);
    mallopt(M_TRIM_THRESHOLD, ALL);
    return true;
}

// The output of ISA-L depends on the address of its state: at other addresses one picture in some
// thousands, of any size, gets other bytes. So that a picture has the same bytes in every process,
// the state has the same address in each process, unless something else is there.
isal_zstream* mapState() {
    constexpr uintptr_t HINT = 0x10'0000'0000;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the address is a number
    void* const mapped = mmap(reinterpret_cast<void*>(HINT), sizeof(isal_zstream),
                              PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return mapped == MAP_FAILED ? nullptr : static_cast<isal_zstream*>(mapped);
}

// Returns a zlib stream of the data in a block that the library releases, or null if it can't.
unsigned char* compressFrame(unsigned char* data, int size, int* compressedSize) {
    // Level 0 saves a tenth of the time and makes files a quarter larger. Level 2 makes the same
    // files more slowly. Level 3 takes up to 2.6 times as long, and saves a fiftieth of the size.
    constexpr int LEVEL = 1;
    static isal_zstream* const state = mapState();
    const auto bound = static_cast<uint32_t>(boundOf(size));
    auto* const stream = static_cast<unsigned char*>(malloc(bound));  // NOLINT(*-no-malloc)
    if (stream == nullptr || state == nullptr) {
        free(stream);  // NOLINT(*-no-malloc)
        return nullptr;
    }
    memset(state, 0, sizeof *state);
    isal_deflate_stateless_init(state);
    state->level = LEVEL;
    state->gzip_flag = IGZIP_ZLIB;
    state->next_in = data;
    state->avail_in = static_cast<uint32_t>(size);
    state->next_out = stream;
    state->avail_out = bound;
    const int status = isal_deflate_stateless(state);
    *compressedSize = static_cast<int>(state->total_out);
    if (status != COMP_OK) {
        free(stream);  // NOLINT(*-no-malloc)
        return nullptr;
    }
    return stream;
}

#else

// The compressor writes at most 9 bits for a byte. Its array grows to sizes of 3 x 2^k - 1 bytes,
// and the size is an int, so 3 x 2^29 - 1 bytes are the most.
constexpr int64_t MAX_COMPRESSED = INT64_C(3) << 29;

int64_t boundOf(int64_t filtered) { return filtered / 8 * 9 + 64; }

// Returns false if memory is short. It tries to allocate as much as the library does: the filtered
// bytes, the array before and after it grows, and the compressor's hash table.
bool prepareMemory(int64_t filtered) {
    const auto needed = static_cast<size_t>(4 * boundOf(filtered) + (4 << 20));
    void* volatile memory = malloc(needed);  // NOLINT(*-no-malloc): doesn't throw
    free(memory);                            // NOLINT(*-no-malloc)
    return memory != nullptr;
}

#endif

// Returns true if the encoder has memory for the picture, and none of its counts overflows int. It
// adds up the filtered bytes of a row, each of which counts as 128 at most. It also counts the
// bytes of all rows, filtered and compressed. Each filtered row starts with a byte for the filter.
bool fitsEncoder(int width, int height, int components) {
    if (width <= 0 || height <= 0 || components < 1 || components > 4) {
        return false;
    }
    const int64_t row = int64_t{width} * components;
    if (row > INT_MAX / 128) {
        return false;
    }
    const int64_t filtered = (row + 1) * height;
    return boundOf(filtered) <= MAX_COMPRESSED && prepareMemory(filtered);
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
