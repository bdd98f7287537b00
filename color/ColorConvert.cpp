#include "color/ColorConvert.h"

#include <PxAsyncBlitStream.h>
#include <android/log.h>
#include <sync/sync.h>
#include <sys/time.h>
#include <unistd.h>

#include "color/Catalogue.h"

namespace {

constexpr const char* TAG = "VexConverter-ColorConvert";

using Buffer = ColorConvert::ColorConvertBuffer;

PX_COLOR_ENUM colorOf(const Buffer& buffer) {
    return static_cast<PX_COLOR_ENUM>(colorFormatInfo(buffer.mFormat).pxColor);
}

// A color space outside the catalogue counts as the first one.
PX_PROFILE_ENUM profileOf(const Buffer& buffer) {
    const auto row = static_cast<uint32_t>(buffer.mColorSpace);
    return static_cast<PX_PROFILE_ENUM>(
        colorSpaceInfos[row < colorSpaceInfos.size() ? row : 0].pxProfile);
}

bool describePlanes(Buffer& buffer) {
    const ColorFormatInfo& info = colorFormatInfo(buffer.mFormat);
    if (info.calculate == nullptr) {
        return false;
    }
    info.calculate(buffer);
    return buffer.mPlaneCount > 0;
}

// Returns true if the status is 0. Otherwise it logs the step and the status.
bool succeeded(const char* step, int status) {
    if (status != 0) {
        __android_log_print(ANDROID_LOG_ERROR, TAG,
                            "ColorConvert::convertFrame %s fail with error = %d\n", step, status);
    }
    return status == 0;
}

// Describes the job to the blit engine and starts it.
bool submit(PxAsyncBlitStream& stream, unsigned int jobId, Buffer& src, Buffer& dst) {
    constexpr auto PROGRESSIVE = static_cast<PxInterlaceFormat>(0);
    constexpr auto NOT_SECURE = static_cast<PxSecure>(0);
    constexpr unsigned int OUTPUT = 0;
    PxRect frame = {0, 0, 0, 0, src.mWidth, 0, src.mHeight, 0};

    stream.setConfigBegin(jobId);
    if (!succeeded("setSrcBuffer",
                   stream.setSrcBuffer(src.mFd, src.mPlaneSize, src.mPlaneCount, -1))) {
        return false;
    }
    stream.setSrcConfig(src.mWidth, src.mHeight, src.mYPitch, src.mUVPitch, colorOf(src),
                        profileOf(src), PROGRESSIVE, NOT_SECURE, false, 0);
    stream.setSrcCrop(OUTPUT, frame);
    if (!succeeded("setDstBuffer",
                   stream.setDstBuffer(OUTPUT, dst.mFd, dst.mPlaneSize, dst.mPlaneCount, -1))) {
        return false;
    }
    stream.setDstConfig(OUTPUT, dst.mWidth, dst.mHeight, dst.mYPitch, dst.mUVPitch, colorOf(dst),
                        profileOf(dst), PROGRESSIVE, &frame, NOT_SECURE, false, 0, 0);
    stream.setConfigEnd();
    timeval now = {};
    gettimeofday(&now, nullptr);
    return succeeded("Invalidate", stream.invalidate(&now));
}

}  // namespace

ColorConvert::ColorConvert() : mBlitStream(std::make_unique<PxAsyncBlitStream>()) {}

ColorConvert::~ColorConvert() = default;

int ColorConvert::convertFrame(ColorConvertConfig config) {
    if (!describePlanes(config.mSrc) || !describePlanes(config.mDst)) {
        __android_log_print(ANDROID_LOG_ERROR, TAG,
                            "ColorConvert::convertFrame no planes for format %d to %d, %d x %d\n",
                            config.mSrc.mFormat, config.mDst.mFormat, config.mSrc.mWidth,
                            config.mSrc.mHeight);
        return -1;
    }
    unsigned int jobId = 0;
    int fence = -1;
    const int status = mBlitStream->createJob(jobId, fence);
    if (status != 0 || fence <= 0) {
        __android_log_print(ANDROID_LOG_ERROR, TAG,
                            "ColorConvert::convertFrame createJob fail with error = %d, fence %d\n",
                            status, fence);
        if (fence > 0) {
            close(fence);
        }
        return -1;
    }
    const bool submitted = submit(*mBlitStream, jobId, config.mSrc, config.mDst);
    if (submitted) {
        sync_wait(fence, -1);
    }
    close(fence);
    return submitted ? 0 : -1;
}
