#include "BlitJob.h"

#include <android/log.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <new>

#define LOG(level, ...) __android_log_print(ANDROID_LOG_##level, "PxAsyncBlitStream", __VA_ARGS__)

namespace host {

namespace {

// The conversions between plain forms that change samples.
bool canConvert(Form from, Form to) {
    return to == Form::RGBA8888 ? from != to : from == to && isYuv(from);
}

int64_t blockRowBytes(const PlaneLayout& plane, int samples) {
    return int64_t{samples} / plane.blockSamples * plane.blockBytes;
}

// The row of chroma that covers a line.
int chromaLineOf(int line, int chromaLines) {
    return std::max(0, std::min(line / 2, chromaLines - 1));
}

}  // namespace

// Sets what is known of the plane in frame, and refuses a plane that its buffer doesn't hold.
int BlitJob::checkPlane(const char* name, const JobSide& side, Frame& frame, int index) {
    const auto i = static_cast<size_t>(index);
    const Layout& layout = *frame.layout;
    const PlaneLayout& plane = layout.planes[index];
    const int samples = plane.samples(layout.form, side.width);
    const int lines = plane.lines(side.height);
    int64_t bytes = 0;
    int64_t wordBytes = 1;
    if (plane.isRows()) {
        const int pitch = index == 0 ? side.yPitch : side.uvPitch;
        const int64_t rowBytes = int64_t{samples} * sampleBytesOf(layout.form);
        frame.pitches[i] = pitch;
        bytes = lines == 0 ? 0 : (lines - 1) * frame.pitches[i] + rowBytes;
        wordBytes = bytesOf(layout.form) == 3 ? 1 : bytesOf(layout.form);
    } else {
        if (samples % plane.blockSamples != 0 || lines % plane.blockLines != 0) {
            LOG(ERROR, "%s: %d x %d is not a whole number of blocks\n", name, side.width,
                side.height);
            return -EINVAL;
        }
        frame.pitches[i] = blockRowBytes(plane, samples);
        bytes = lines / plane.blockLines * frame.pitches[i];
    }
    const uint32_t told = side.sizes[layout.toldPlaneCount == 1 ? 0 : index];
    if (bytes > told || frame.places.bodies[i] + bytes > frame.buffer.size) {
        LOG(ERROR, "%s: plane %d needs %lld bytes at %lld, has %u of a buffer of %lld\n", name,
            index, static_cast<long long>(bytes), static_cast<long long>(frame.places.bodies[i]),
            told, static_cast<long long>(frame.buffer.size));
        return -EINVAL;
    }
    frame.sizes[i] = bytes;
    frame.rests[i] = told - bytes;
    if (frame.pitches[i] % wordBytes != 0 || frame.places.bodies[i] % wordBytes != 0) {
        LOG(ERROR, "%s: plane %d is not aligned to its samples\n", name, index);
        return -EINVAL;
    }
    return 0;
}

int BlitJob::checkSide(const char* name, const JobSide& side, Frame& frame) {
    frame = {};
    frame.layout = findLayout(side.color);
    if (frame.layout == nullptr) {
        LOG(ERROR, "%s: unknown color format 0x%08X\n", name, side.color);
        return -EINVAL;
    }
    const Layout& layout = *frame.layout;
    frame.profile = findProfile(side.profile);
    if (frame.profile == nullptr) {
        LOG(ERROR, "%s: unknown color profile %u\n", name, side.profile);
        return -EINVAL;
    }
    struct stat status = {};
    if (fstat(side.fd, &status) != 0) {
        LOG(ERROR, "%s: bad descriptor %d\n", name, side.fd);
        return -EBADF;
    }
    frame.buffer = {side.fd, status.st_dev, status.st_ino, status.st_size};
    // Rows of working memory stay small, and every product below fits 64 bits.
    constexpr int MAX_WIDTH = 1 << 20;
    if (side.width <= 0 || side.height <= 0 || side.width > MAX_WIDTH) {
        LOG(ERROR, "%s: bad size %d x %d\n", name, side.width, side.height);
        return -EINVAL;
    }
    const bool rows = layout.planes[0].isRows();
    const int64_t yPitch = int64_t{layout.yPitch} * side.width / 2;
    const int64_t uvPitch = int64_t{layout.uvPitch} * side.width / 2;
    if (side.yPitch < yPitch || side.uvPitch < uvPitch ||
        (!rows && (side.yPitch != yPitch || side.uvPitch != uvPitch))) {
        LOG(ERROR, "%s: bad pitches %d, %d\n", name, side.yPitch, side.uvPitch);
        return -EINVAL;
    }
    if (side.planeCount != static_cast<uint32_t>(layout.toldPlaneCount)) {
        LOG(ERROR, "%s: bad plane count %u\n", name, side.planeCount);
        return -EINVAL;
    }
    const int64_t total = int64_t{side.sizes[0]} + side.sizes[1] + side.sizes[2];
    if (total > std::min<int64_t>(frame.buffer.size, INT_MAX)) {
        LOG(ERROR, "%s: planes of %lld bytes in a buffer of %lld\n", name,
            static_cast<long long>(total), static_cast<long long>(frame.buffer.size));
        return -EINVAL;
    }
    frame.width = side.width;
    frame.height = side.height;
    frame.places = layout.places(side.width, side.height, side.sizes);
    for (int i = 0; i < layout.planeCount; ++i) {
        const int error = checkPlane(name, side, frame, i);
        if (error != 0) {
            return error;
        }
    }
    return 0;
}

// What only both sides together show.
int BlitJob::checkPair(const Frame& src, const Frame& dst) {
    if (src.width != dst.width || src.height != dst.height) {
        LOG(ERROR, "scaling %d x %d to %d x %d is not supported\n", src.width, src.height,
            dst.width, dst.height);
        return -EOPNOTSUPP;
    }
    if (src.buffer.device == dst.buffer.device && src.buffer.inode == dst.buffer.inode) {
        LOG(ERROR, "source and destination are one buffer\n");
        return -EINVAL;
    }
    const Layout& from = *src.layout;
    const Layout& to = *dst.layout;
    if (!to.isPlainForm() || (changesColors(src, dst) && !canConvert(from.form, to.form))) {
        LOG(ERROR, "converting 0x%08X to 0x%08X is not supported\n", from.code, to.code);
        return -EOPNOTSUPP;
    }
    return 0;
}

bool BlitJob::changesColors(const Frame& src, const Frame& dst) {
    const Form form = src.layout->form;
    return form != dst.layout->form || (isYuv(form) && src.profile != dst.profile);
}

int BlitJob::run(const JobSide& src, const JobSide& dst) {
    Frame from;
    Frame to;
    int error = checkSide("source", src, from);
    error = error == 0 ? checkSide("destination", dst, to) : error;
    error = error == 0 ? checkPair(from, to) : error;
    if (error != 0) {
        return error;
    }
    try {
        return mapAndConvert(from, to);
    } catch (const std::bad_alloc&) {
        LOG(ERROR, "no memory for a strip of %d pixels\n", from.width);
        return -ENOMEM;
    }
}

int BlitJob::mapAndConvert(Frame& src, Frame& dst) {
    const BufferMapping srcMapping(src.buffer, false);
    const BufferMapping dstMapping(dst.buffer, true);
    src.data = srcMapping.data();
    dst.data = dstMapping.data();
    if (src.data == nullptr || dst.data == nullptr) {
        const int error = errno;
        LOG(ERROR, "failed to map the buffers, %s\n", strerror(error));
        return -error;
    }
    warnOfCompression(src);
    convert(src, dst);
    clearRests(dst);
    return 0;
}

// Stored blocks have headers of zeros where they come from make-dump, compressed ones never do.
void BlitJob::warnOfCompression(const Frame& src) {
    if (src.layout->compressed == nullptr || mWarned) {
        return;
    }
    for (const Span& header : src.places.headers) {
        const uint8_t* start = src.data + header.offset;
        const int64_t held = std::max<int64_t>(0, src.buffer.size - header.offset);
        const uint8_t* end = start + std::min(header.size, held);
        mWarned = mWarned || std::any_of(start, end, [](uint8_t byte) { return byte != 0; });
    }
    if (mWarned) {
        LOG(WARN,
            "%s: the blocks are most likely compressed, which only the device reads; the picture "
            "will look like noise\n",
            src.layout->compressed);
    }
}

// A destination is written in full, also where a plane is told larger than its rows (P010 of an odd
// height).
void BlitJob::clearRests(const Frame& dst) {
    for (size_t i = 0; i < static_cast<size_t>(dst.layout->planeCount); ++i) {
        memset(dst.data + dst.places.bodies[i] + dst.sizes[i], 0,
               static_cast<size_t>(dst.rests[i]));
    }
}

void BlitJob::convert(const Frame& src, const Frame& dst) {
    const Form form = src.layout->form;
    const bool colorStep = changesColors(src, dst);
    ColorStep step = {};
    if (colorStep && isYuv(form)) {
        step = isYuv(dst.layout->form) ? stepToYuv(*src.profile, *dst.profile, bitsOf(form))
                                       : stepToRgb(*src.profile, bitsOf(form));
    }
    const int chromaLines = isYuv(form) ? src.height / 2 : 0;
    for (int top = 0; top < src.height; top += STRIP_LINES) {
        Strip strip = {src.width, std::min(STRIP_LINES, src.height - top), 0};
        if (chromaLines > 0) {
            const int bottom = top + strip.lines - 1;
            strip.chromaLines =
                chromaLineOf(bottom, chromaLines) - chromaLineOf(top, chromaLines) + 1;
        }
        if (colorStep) {
            convertStrip(src, dst, top, strip, step);
        } else {
            copyStrip(src, dst, top, strip);
        }
    }
}

Rows BlitJob::Frame::rows(int plane, int line) const {
    const auto i = static_cast<size_t>(plane);
    const int row = layout->planes[plane].isRows() ? line : line / layout->planes[plane].blockLines;
    return {data + places.bodies[i] + row * pitches[i], static_cast<ptrdiff_t>(pitches[i])};
}

void BlitJob::unpackMain(const Frame& src, int top, int lines, Rows to) {
    const Form form = src.layout->form;
    const PlaneLayout& plane = src.layout->planes[0];
    unpackPlane(plane, sampleBytesOf(form), src.rows(0, top), plane.samples(form, src.width), lines,
                to);
}

void BlitJob::unpackChroma(const Frame& src, int top, int lines, Rows to) {
    const Form form = src.layout->form;
    const PlaneLayout& plane = src.layout->planes[1];
    const int samples = plane.samples(form, src.width);
    const bool crFirst = src.layout->crFirst;
    switch (plane.role) {
        case Role::RGB:
        case Role::LUMA:
            break;
        case Role::CHROMA_PAIRS:
            unpackPlane(plane, bytesOf(form), src.rows(1, top), samples, lines, to);
            if (crFirst) {
                swapChroma(to, samples / 2, lines);
            }
            break;
        case Role::CHROMA:
            mergeChroma(src.rows(crFirst ? 2 : 1, top), src.rows(crFirst ? 1 : 2, top), samples,
                        lines, to);
            // An odd width leaves a byte of the row without a sample: no color.
            for (int line = 0; src.width % 2 != 0 && line < lines; ++line) {
                to.data[line * to.pitch + src.width - 1] = 128;
            }
            break;
    }
}

// Equal forms: straight into the destination.
void BlitJob::copyStrip(const Frame& src, const Frame& dst, int top, const Strip& strip) {
    unpackMain(src, top, strip.lines, dst.rows(0, top));
    if (strip.chromaLines > 0) {
        const int chromaTop = chromaLineOf(top, src.height / 2);
        unpackChroma(src, chromaTop, strip.chromaLines, dst.rows(1, chromaTop));
    }
}

// Plain rows of the strip: the source's own, or unpacked ones.
ConstRows BlitJob::plainMain(const Frame& src, int top, const Strip& strip) {
    if (src.layout->planes[0].isRows()) {
        return src.rows(0, top);
    }
    const ptrdiff_t pitch = ptrdiff_t{src.width} * bytesOf(src.layout->form);
    mMainStrip.resize(static_cast<size_t>(pitch * strip.lines));
    const Rows unpacked = {mMainStrip.data(), pitch};
    unpackMain(src, top, strip.lines, unpacked);
    return unpacked;
}

ConstRows BlitJob::plainChroma(const Frame& src, int top, const Strip& strip) {
    if (strip.chromaLines == 0) {
        return {};
    }
    const int chromaTop = chromaLineOf(top, src.height / 2);
    if (src.layout->isPlainForm()) {
        return src.rows(1, chromaTop);
    }
    const ptrdiff_t pitch = ptrdiff_t{src.width} * bytesOf(src.layout->form);
    mChromaStrip.resize(static_cast<size_t>(pitch * strip.chromaLines));
    const Rows unpacked = {mChromaStrip.data(), pitch};
    unpackChroma(src, chromaTop, strip.chromaLines, unpacked);
    return unpacked;
}

void BlitJob::convertStrip(const Frame& src, const Frame& dst, int top, const Strip& strip,
                           const ColorStep& step) {
    const Form form = src.layout->form;
    const ConstRows main = plainMain(src, top, strip);
    const Rows out = dst.rows(0, top);
    if (!isYuv(form)) {
        convertRgbToRgba(form, strip, main, out);
        return;
    }
    const Planes<ConstRows> in = {main, plainChroma(src, top, strip)};
    mTerms.resize(static_cast<size_t>(strip.width) * CHANNELS);
    if (isYuv(dst.layout->form)) {
        const Rows chromaOut = dst.rows(1, chromaLineOf(top, dst.height / 2));
        convertYuvToYuv(form, step, strip, in, {out, chromaOut}, mTerms.data());
    } else {
        convertYuvToRgba(form, step, strip, in, out, mTerms.data());
    }
}

}  // namespace host
