#include "BlitEngine.h"

#include <android/log.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "BufferMapping.h"

#define LOG(level, ...) __android_log_print(ANDROID_LOG_##level, "PxAsyncBlitStream", __VA_ARGS__)

namespace host {

// A Frame is a side that has been checked: its planes lie inside its buffer.
struct Frame {
    const Layout* layout;
    const Profile* profile;
    BufferId buffer;
    Offsets offsets;
    PerPlane pitches;  // bytes per row, or per row of blocks
    PerPlane sizes;    // bytes of a plane's rows
    PerPlane padding;  // bytes of a plane after its last row
    int width;         // pixels
    int height;        // lines
    uint8_t* data;     // the mapped buffer; null until it is mapped

    // Returns the plane's rows from that row on. In a plane of blocks these are rows of blocks, and
    // the first of them holds that row.
    Rows rows(int plane, int row) const {
        const auto i = static_cast<size_t>(plane);
        const int blockRow = row / layout->planes[plane].blockHeight;
        return {data + offsets.planes[i] + blockRow * pitches[i],
                static_cast<ptrdiff_t>(pitches[i])};
    }
};

namespace {

// Logs the reason and returns the negated error.
[[gnu::format(printf, 2, 3)]] int refuse(int error, const char* format, ...) {
    char reason[200];
    va_list values;
    va_start(values, format);
    vsnprintf(reason, sizeof reason, format, values);
    va_end(values);
    LOG(ERROR, "%s", reason);
    return -error;
}

// Returns true if the engine can compute the samples of the conversion. It can convert any format
// to RGBA32, and a YUV format from one color space to another.
bool canComputeSamples(LinearFormat from, LinearFormat to) {
    return to == LinearFormat::RGBA32 || (from == to && isYuv(from));
}

// Returns the alignment of planes and pitches in bytes. The kernels access rows as words of a pixel
// or a sample, but they read RGB24 and blocks byte by byte.
int64_t alignmentOf(const Layout& layout) {
    const bool words = layout.planes[0].isLinear() && layout.format != LinearFormat::RGB24;
    return words ? columnBytes(layout.format) : 1;
}

// Returns the chroma row that covers a line. The last one also covers the line that an odd height
// leaves.
int chromaRowOf(int line, int chromaRows) {
    return std::max(0, std::min(line / 2, chromaRows - 1));
}

// Fills in the frame's entries for one plane, and refuses a plane that doesn't fit its buffer.
int checkPlane(const char* name, const JobSide& side, Frame& frame, int index) {
    const auto i = static_cast<size_t>(index);
    const Layout& layout = *frame.layout;
    const PlaneLayout& plane = layout.planes[index];
    const int samples = plane.samplesPerRow(layout.format, side.width);
    const int rows = plane.rows(side.height);
    int64_t bytes = 0;
    if (plane.isLinear()) {
        const int64_t rowBytes = int64_t{samples} * sampleBytesOf(layout.format);
        frame.pitches[i] = index == 0 ? side.yPitch : side.uvPitch;
        bytes = rows == 0 ? 0 : (rows - 1) * frame.pitches[i] + rowBytes;
    } else {
        if (samples % plane.blockWidth != 0 || rows % plane.blockHeight != 0) {
            return refuse(EINVAL, "%s: %d x %d is not a whole number of blocks\n", name, side.width,
                          side.height);
        }
        frame.pitches[i] = int64_t{samples} / plane.blockWidth * plane.blockBytes;
        bytes = rows / plane.blockHeight * frame.pitches[i];
    }
    const uint32_t declared = side.sizes[layout.sizeCount == 1 ? 0 : index];
    if (bytes > declared || frame.offsets.planes[i] + bytes > frame.buffer.size) {
        return refuse(EINVAL, "%s: plane %d needs %lld bytes at %lld, has %u of a buffer of %lld\n",
                      name, index, static_cast<long long>(bytes),
                      static_cast<long long>(frame.offsets.planes[i]), declared,
                      static_cast<long long>(frame.buffer.size));
    }
    frame.sizes[i] = bytes;
    frame.padding[i] = declared - bytes;
    const int64_t alignment = alignmentOf(layout);
    if (frame.pitches[i] % alignment != 0 || frame.offsets.planes[i] % alignment != 0) {
        return refuse(EINVAL, "%s: plane %d is not aligned to its samples\n", name, index);
    }
    return 0;
}

// Checks the sizes that the side declares for the whole frame.
int checkSizes(const char* name, const JobSide& side, const Frame& frame) {
    const Layout& layout = *frame.layout;
    // This limit keeps rows of working memory small. It also keeps every product that the engine
    // computes from a width and a height within 64 bits.
    constexpr int MAX_WIDTH = 1 << 20;
    if (side.width <= 0 || side.height <= 0 || side.width > MAX_WIDTH) {
        return refuse(EINVAL, "%s: bad size %d x %d\n", name, side.width, side.height);
    }
    const int64_t yPitch = int64_t{layout.yPitchOfTwoPixels} * side.width / 2;
    const int64_t uvPitch = int64_t{layout.uvPitchOfTwoPixels} * side.width / 2;
    if (side.yPitch < yPitch || side.uvPitch < uvPitch ||
        (!layout.planes[0].isLinear() && (side.yPitch != yPitch || side.uvPitch != uvPitch))) {
        return refuse(EINVAL, "%s: bad pitches %d, %d\n", name, side.yPitch, side.uvPitch);
    }
    if (side.planeCount != static_cast<uint32_t>(layout.sizeCount)) {
        return refuse(EINVAL, "%s: bad plane count %u\n", name, side.planeCount);
    }
    const int64_t total = int64_t{side.sizes[0]} + side.sizes[1] + side.sizes[2];
    if (total > std::min<int64_t>(frame.buffer.size, INT_MAX)) {
        return refuse(EINVAL, "%s: planes of %lld bytes in a buffer of %lld\n", name,
                      static_cast<long long>(total), static_cast<long long>(frame.buffer.size));
    }
    return 0;
}

int checkSide(const char* name, const JobSide& side, Frame& frame) {
    frame = {};
    frame.layout = findLayout(side.color);
    if (frame.layout == nullptr) {
        return refuse(EINVAL, "%s: unknown color format 0x%08X\n", name, side.color);
    }
    frame.profile = findProfile(side.profile);
    if (frame.profile == nullptr) {
        return refuse(EINVAL, "%s: unknown color profile %u\n", name, side.profile);
    }
    struct stat status = {};
    if (fstat(side.fd, &status) != 0) {
        return refuse(EBADF, "%s: bad descriptor %d\n", name, side.fd);
    }
    frame.buffer = {side.fd, status.st_dev, status.st_ino, status.st_size};
    frame.width = side.width;
    frame.height = side.height;
    int error = checkSizes(name, side, frame);
    if (error == 0) {
        frame.offsets = frame.layout->offsets(side.width, side.height, side.sizes);
    }
    for (int i = 0; error == 0 && i < frame.layout->planeCount; ++i) {
        error = checkPlane(name, side, frame, i);
    }
    return error;
}

// Returns true if the job computes samples, false if it only moves them.
bool changesColors(const Frame& src, const Frame& dst) {
    const LinearFormat format = src.layout->format;
    return format != dst.layout->format || (isYuv(format) && src.profile != dst.profile);
}

// Checks what depends on both sides.
int checkPair(const Frame& src, const Frame& dst) {
    if (src.width != dst.width || src.height != dst.height) {
        return refuse(EOPNOTSUPP, "scaling %d x %d to %d x %d is not supported\n", src.width,
                      src.height, dst.width, dst.height);
    }
    if (src.buffer.device == dst.buffer.device && src.buffer.inode == dst.buffer.inode) {
        return refuse(EINVAL, "source and destination are one buffer\n");
    }
    const Layout& from = *src.layout;
    const Layout& to = *dst.layout;
    if (!to.isUnpacked() ||
        (changesColors(src, dst) && !canComputeSamples(from.format, to.format))) {
        return refuse(EOPNOTSUPP, "converting 0x%08X to 0x%08X is not supported\n", from.code,
                      to.code);
    }
    return 0;
}

// A job may declare a plane larger than its rows, as for P010 of an odd height. This clears what
// follows the rows, so that every byte of the destination depends on the source alone.
void clearPadding(const Frame& dst) {
    for (size_t i = 0; i < static_cast<size_t>(dst.layout->planeCount); ++i) {
        memset(dst.data + dst.offsets.planes[i] + dst.sizes[i], 0,
               static_cast<size_t>(dst.padding[i]));
    }
}

// Unpacks rows of one of the source's planes, from row top on, to rows of its linear format. index
// is the number of the plane. Planes of Cb and Cr are merged, and index is the number of the first.
void unpack(const Frame& src, int index, int top, int rowCount, Rows to) {
    const LinearFormat format = src.layout->format;
    const PlaneLayout& plane = src.layout->planes[index];
    const int samples = plane.samplesPerRow(format, src.width);
    if (!plane.isCbOrCr()) {
        unpackPlane(plane, sampleBytesOf(format), src.rows(index, top), samples, rowCount, to);
        return;
    }
    mergeChroma(src.rows(src.layout->cbPlane(), top), src.rows(src.layout->crPlane(), top), samples,
                rowCount, to);
    // The pairs of an odd width leave the last byte of the row, which gets the neutral value.
    for (int row = 0; row < rowCount; ++row) {
        std::fill_n(to.data + row * to.pitch + 2 * samples, src.width % 2, uint8_t{128});
    }
}

// Unpacks straight into the destination.
void copyStrip(const Frame& src, const Frame& dst, int top, const Strip& strip) {
    unpack(src, 0, top, strip.lines, dst.rows(0, top));
    if (strip.chromaRows > 0) {
        const int chromaTop = chromaRowOf(top, src.height / 2);
        unpack(src, 1, chromaTop, strip.chromaRows, dst.rows(1, chromaTop));
    }
}

// Returns rows of one of the source's planes, from row top on, in its linear format. If they are
// stored so, these are the source's own rows; otherwise it unpacks them to memory.
ConstRows linearRows(const Frame& src, int index, int top, int rowCount,
                     std::vector<uint8_t>& memory) {
    if (rowCount == 0) {
        return {};
    }
    const PlaneLayout& plane = src.layout->planes[index];
    if (plane.isUnpacked()) {
        return src.rows(index, top);
    }
    const ptrdiff_t pitch = ptrdiff_t{src.width} * columnBytes(src.layout->format);
    memory.resize(static_cast<size_t>(pitch * rowCount));
    const Rows unpacked = {memory.data(), pitch};
    unpack(src, index, top, rowCount, unpacked);
    return unpacked;
}

}  // namespace

int BlitEngine::run(const JobSide& src, const JobSide& dst) {
    Frame from;
    Frame to;
    int error = checkSide("source", src, from);
    error = error == 0 ? checkSide("destination", dst, to) : error;
    error = error == 0 ? checkPair(from, to) : error;
    if (error != 0) {
        return error;
    }
    const BufferMapping srcMapping(from.buffer, false);
    const BufferMapping dstMapping(to.buffer, true);
    from.data = srcMapping.data();
    to.data = dstMapping.data();
    if (from.data == nullptr || to.data == nullptr) {
        error = errno;
        return refuse(error, "failed to map the buffers, %s\n", strerror(error));
    }
    warnOfCompression(from);
    convert(from, to);
    clearPadding(to);
    return 0;
}

// Logs a warning if the source's blocks seem to be compressed. An engine warns once, and so once a
// file, because each file has an engine of its own. The device compresses blocks, and its headers
// are never all zero. make-dump writes uncompressed blocks and headers of zeros.
void BlitEngine::warnOfCompression(const Frame& src) {
    if (src.layout->compressedName == nullptr || mWarnedOfCompression) {
        return;
    }
    for (const Span& header : src.offsets.headers) {
        const uint8_t* start = src.data + header.offset;
        const int64_t available = std::max<int64_t>(0, src.buffer.size - header.offset);
        const uint8_t* end = start + std::min(header.size, available);
        mWarnedOfCompression =
            mWarnedOfCompression || std::any_of(start, end, [](uint8_t byte) { return byte != 0; });
    }
    if (mWarnedOfCompression) {
        LOG(WARN,
            "%s: the blocks are most likely compressed, which only the device reads; the picture "
            "will look like noise\n",
            src.layout->compressedName);
    }
}

void BlitEngine::convert(const Frame& src, const Frame& dst) {
    const LinearFormat format = src.layout->format;
    const bool changesColor = changesColors(src, dst);
    ColorTransform transform = {};
    if (changesColor && isYuv(format)) {
        transform = isYuv(dst.layout->format)
                        ? transformToYuv(*src.profile, *dst.profile, bitsOf(format))
                        : transformToRgb(*src.profile, bitsOf(format));
    }
    const int chromaRows = isYuv(format) ? src.height / 2 : 0;
    for (int top = 0; top < src.height; top += STRIP_LINES) {
        Strip strip = {src.width, std::min(STRIP_LINES, src.height - top), 0};
        if (chromaRows > 0) {
            const int bottom = top + strip.lines - 1;
            strip.chromaRows = chromaRowOf(bottom, chromaRows) - chromaRowOf(top, chromaRows) + 1;
        }
        if (changesColor) {
            convertStrip(src, dst, top, strip, transform);
        } else {
            copyStrip(src, dst, top, strip);
        }
    }
}

void BlitEngine::convertStrip(const Frame& src, const Frame& dst, int top, const Strip& strip,
                              const ColorTransform& transform) {
    const LinearFormat format = src.layout->format;
    const ConstRows main = linearRows(src, 0, top, strip.lines, mMainStrip);
    const Rows out = dst.rows(0, top);
    if (!isYuv(format)) {
        convertRgbToRgba(format, strip, main, out);
        return;
    }
    const int chromaTop = chromaRowOf(top, src.height / 2);
    const Planes<ConstRows> in = {main,
                                  linearRows(src, 1, chromaTop, strip.chromaRows, mChromaStrip)};
    mChromaTerms.resize(static_cast<size_t>(strip.width) * CHANNELS);
    if (isYuv(dst.layout->format)) {
        convertYuvToYuv(format, transform, strip, in, {out, dst.rows(1, chromaTop)},
                        mChromaTerms.data());
    } else {
        convertYuvToRgba(format, transform, strip, in, out, mChromaTerms.data());
    }
}

}  // namespace host
