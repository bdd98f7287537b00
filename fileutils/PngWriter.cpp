// PNG output: the picture library's implementation, with the hooks that it documents. With VEX_ISAL
// its slow loops are ISA-L's or wide vectors; without, it is as it comes.
#undef NDEBUG  // where its own growing arrays get no memory, only its assertion stops it
#include <android/log.h>
#include <sys/stat.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fileutils/File.h"
#include "fileutils/FileUtils.h"

#ifdef VEX_ISAL
#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

namespace {

unsigned char* compressFrame(unsigned char* data, int size, int* compressedSize);

}  // namespace

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

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

namespace {

// True when the memory is there that a library is about to ask for.
bool canAllocate(int64_t bytes) {
    void* volatile room =
        malloc(static_cast<size_t>(bytes));  // NOLINT(*-no-malloc): without a throw, and given back
    free(room);                              // NOLINT(*-no-malloc)
    return room != nullptr;
}

#ifdef VEX_ISAL

constexpr int64_t AROUND = 63;  // bytes of zlib's header and checksum, and of the picture's chunks
constexpr int64_t MOST_COMPRESSED = INT_MAX;

// More than compression gives, which stores what doesn't get smaller in blocks with short headers.
int64_t boundOf(int64_t filtered) { return filtered + filtered / 128 + AROUND; }

bool hasMemory(int64_t /*filtered*/) { return true; }  // the encoder looks at each allocation

// A zlib stream of the data in memory that the library frees; null when there is none.
unsigned char* compressFrame(unsigned char* data, int size, int* compressedSize) {
    // Level 0 saves a tenth of the time and makes files a quarter larger. 2 makes the same files
    // more slowly; 3 takes up to 2.6 times as long for a fiftieth less.
    constexpr int LEVEL = 1;
    const auto bound = static_cast<uint32_t>(boundOf(size));
    auto* stream =
        static_cast<unsigned char*>(malloc(bound));  // NOLINT(*-no-malloc): the library's
    if (stream == nullptr) {
        return nullptr;
    }
    isal_zstream state = {};
    isal_deflate_stateless_init(&state);
    state.level = LEVEL;
    state.gzip_flag = IGZIP_ZLIB;
    state.next_in = data;
    state.avail_in = static_cast<uint32_t>(size);
    state.next_out = stream;
    state.avail_out = bound;
    const int status = isal_deflate_stateless(&state);
    *compressedSize = static_cast<int>(state.total_out);
    // For lack of memory for the picture, next, the library would lose this buffer.
    if (status != COMP_OK || !canAllocate(*compressedSize + AROUND)) {
        free(stream);  // NOLINT(*-no-malloc)
        return nullptr;
    }
    return stream;
}

#else

// The compressor's codes take at most 9 bits a byte, in an array that it doubles in int.
constexpr int64_t MOST_COMPRESSED = INT64_C(3) << 29;

int64_t boundOf(int64_t filtered) { return filtered / 8 * 9 + 64; }

// The filtered bytes, the array as it is doubled, old and new, and the compressor's hash table.
bool hasMemory(int64_t filtered) { return canAllocate(4 * boundOf(filtered) + (4 << 20)); }

#endif

// True when the encoder can count the picture's bytes: the sum of a row's filtered bytes, up to 128
// each, and of all rows, with a byte each for their filter.
bool fitsEncoder(int width, int height, int components) {
    if (width <= 0 || height <= 0 || components < 1 || components > 4) {
        return false;
    }
    const int64_t row = int64_t{width} * components;
    if (row > INT_MAX / 128) {
        return false;
    }
    const int64_t filtered = (row + 1) * height;
    return boundOf(filtered) <= MOST_COMPRESSED && hasMemory(filtered);
}

// The library doesn't look whether all bytes were written: a file that was ends with its last
// chunk.
bool isComplete(const std::string& path) {
    constexpr char LAST[] = "\0\0\0\0IEND\xAE\x42\x60\x82";
    char end[sizeof LAST - 1] = {};
    struct stat status = {};
    const bool regular = stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    const File file(regular ? fopen(path.c_str(), "rbe") : nullptr);
    if (file == nullptr) {
        return true;
    }
    return fseek(file.get(), -static_cast<long>(sizeof end), SEEK_END) == 0 &&
           fread(end, 1, sizeof end, file.get()) == sizeof end &&
           memcmp(end, LAST, sizeof end) == 0;
}

}  // namespace

int FileUtils::writeToPNG(std::string path, int width, int height, const unsigned char* pixels,
                          int components) {
    if (fitsEncoder(width, height, components) &&
        stbi_write_png(path.c_str(), width, height, components, pixels, 0) != 0 &&
        isComplete(path)) {
        return 1;
    }
    __android_log_print(ANDROID_LOG_ERROR, "VexConverter-FileUtils",
                        "writeToPNG: Failed to write file: %s, %d x %d\n", path.c_str(), width,
                        height);
    return 0;
}
