// The blit library's stream for the host. Jobs run on the calling thread: invalidate returns when
// the frame is converted and its fence signalled.
#include <PxAsyncBlitStream.h>
#include <android/log.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "../SharedBuffer.h"
#include "BlitJob.h"

namespace {

// What a job has been told so far.
enum Told : unsigned {
    BEGIN = 1,
    SRC_BUFFER = 2,
    SRC_CONFIG = 4,
    SRC_CROP = 8,
    DST_BUFFER = 16,
    DST_CONFIG = 32,
    END = 64,
    ALL = 127,
};

void logRefusal(const char* call) {
    __android_log_print(ANDROID_LOG_ERROR, "PxAsyncBlitStream", "%s: refused\n", call);
}

bool isWholeFrame(const PxRect& rect, int width, int height) {
    return rect.left == 0 && rect.top == 0 && rect.width == width && rect.height == height;
}

int setBuffer(host::JobSide& side, int fd, const unsigned int* sizes, unsigned int planeCount) {
    if (sizes == nullptr || planeCount < 1 || planeCount > 3) {
        return -EINVAL;
    }
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return -errno;
    }
    side.fd = fd;
    side.planeCount = planeCount;
    int64_t total = 0;
    for (unsigned int i = 0; i < 3; ++i) {
        side.sizes[i] = i < planeCount ? sizes[i] : 0;
        total += side.sizes[i];
    }
    return total > status.st_size ? -EINVAL : 0;
}

void setConfig(host::JobSide& side, int width, int height, int yPitch, int uvPitch,
               PX_COLOR_ENUM color, PX_PROFILE_ENUM profile) {
    side.width = width;
    side.height = height;
    side.yPitch = yPitch;
    side.uvPitch = uvPitch;
    side.color = color;
    side.profile = profile;
}

}  // namespace

struct PxAsyncBlitStream::State {
    unsigned int jobId = 0;
    int fence = -1;  // the engine's own descriptor of the job's fence
    unsigned told = 0;
    host::JobSide src = {};
    host::JobSide dst = {};
    PxRect crop = {};
    PxRect target = {};
    host::BlitJob job;

    void closeFence() {
        if (fence >= 0) {
            close(fence);
            fence = -1;
        }
    }

    // Notes an accepted call, logs a refused one.
    int note(const char* call, Told part, int status) {
        if (status == 0 && (told & BEGIN) == 0) {
            status = -EINVAL;
        }
        if (status == 0) {
            told |= part;
        } else {
            logRefusal(call);
        }
        return status;
    }
};

PxAsyncBlitStream::PxAsyncBlitStream() : mState(std::make_unique<State>()) {}

PxAsyncBlitStream::~PxAsyncBlitStream() { mState->closeFence(); }

int PxAsyncBlitStream::createJob(unsigned int& jobId, int& fence) {
    // A job that was begun and never started is dropped.
    mState->closeFence();
    mState->told = 0;
    mState->src = {};
    mState->dst = {};
    mState->fence = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const int callers = mState->fence < 0 ? -errno : host::duplicateDescriptor(mState->fence);
    if (callers < 0) {
        mState->closeFence();
        logRefusal("createJob");
        return callers;
    }
    jobId = ++mState->jobId;
    fence = callers;
    return 0;
}

int PxAsyncBlitStream::setConfigBegin(unsigned int jobId) {
    const bool current = mState->fence >= 0 && jobId == mState->jobId;
    mState->told = current ? unsigned{BEGIN} : 0U;
    return mState->note("setConfigBegin", BEGIN, current ? 0 : -EINVAL);
}

int PxAsyncBlitStream::setSrcBuffer(int fd, unsigned int* sizes, unsigned int planeCount,
                                    int /*reserved*/) {
    return mState->note("setSrcBuffer", SRC_BUFFER, setBuffer(mState->src, fd, sizes, planeCount));
}

int PxAsyncBlitStream::setSrcConfig(int width, int height, int yPitch, int uvPitch,
                                    PX_COLOR_ENUM color, PX_PROFILE_ENUM profile,
                                    PxInterlaceFormat /*interlace*/, PxSecure /*secure*/,
                                    bool /*reservedFlag*/, unsigned int /*reserved*/) {
    setConfig(mState->src, width, height, yPitch, uvPitch, color, profile);
    return mState->note("setSrcConfig", SRC_CONFIG, 0);
}

int PxAsyncBlitStream::setSrcCrop(unsigned int output, PxRect crop) {
    mState->crop = crop;
    return mState->note("setSrcCrop", SRC_CROP, output == 0 ? 0 : -EINVAL);
}

int PxAsyncBlitStream::setDstBuffer(unsigned int output, int fd, unsigned int* sizes,
                                    unsigned int planeCount, int /*reserved*/) {
    const int status = output == 0 ? setBuffer(mState->dst, fd, sizes, planeCount) : -EINVAL;
    return mState->note("setDstBuffer", DST_BUFFER, status);
}

int PxAsyncBlitStream::setDstConfig(unsigned int output, int width, int height, int yPitch,
                                    int uvPitch, PX_COLOR_ENUM color, PX_PROFILE_ENUM profile,
                                    PxInterlaceFormat /*interlace*/, PxRect* target,
                                    PxSecure /*secure*/, bool /*reservedFlag*/,
                                    unsigned int /*reserved*/, int /*reservedLast*/) {
    setConfig(mState->dst, width, height, yPitch, uvPitch, color, profile);
    if (target != nullptr) {
        mState->target = *target;
    }
    const bool fits = output == 0 && target != nullptr;
    return mState->note("setDstConfig", DST_CONFIG, fits ? 0 : -EINVAL);
}

int PxAsyncBlitStream::setConfigEnd() { return mState->note("setConfigEnd", END, 0); }

int PxAsyncBlitStream::invalidate(timeval* /*now*/) {
    State& state = *mState;
    const bool complete = state.told == ALL &&
                          isWholeFrame(state.crop, state.src.width, state.src.height) &&
                          isWholeFrame(state.target, state.dst.width, state.dst.height);
    if (!complete) {
        logRefusal("invalidate");
        return -EINVAL;
    }
    state.told = 0;
    const int status = state.job.run(state.src, state.dst);
    if (status == 0 && eventfd_write(state.fence, 1) != 0) {
        return -errno;
    }
    state.closeFence();
    return status;
}
