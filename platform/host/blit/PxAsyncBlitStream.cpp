// This is the blit library's stream for the host. Jobs run on the calling thread: when invalidate
// returns 0, the frame is converted and its fence is signalled.
#include <PxAsyncBlitStream.h>
#include <android/log.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <bitset>
#include <cerrno>

#include "../Descriptors.h"
#include "BlitEngine.h"

namespace {

using host::isError;

// These calls configure a job, which needs all of them.
enum Call { BEGIN, SRC_BUFFER, SRC_CONFIG, SRC_CROP, DST_BUFFER, DST_CONFIG, END, CALLS };

void logRefusal(const char* call) {
    __android_log_print(ANDROID_LOG_ERROR, "PxAsyncBlitStream", "%s: refused\n", call);
}

bool isWholeFrame(const PxRect& rect, int width, int height) {
    return rect.left == 0 && rect.top == 0 && rect.width == width && rect.height == height;
}

void setBuffer(host::JobSide& side, int fd, const unsigned int* sizes, unsigned int planeCount) {
    side.fd = fd;
    side.planeCount = planeCount;
    for (unsigned int i = 0; i < host::MAX_PLANES; ++i) {
        side.sizes[i] = i < planeCount ? sizes[i] : 0;
    }
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
    int fence = -1;  // the stream's descriptor of the job's fence; the caller has another one
    std::bitset<CALLS> accepted;
    host::JobSide src = {};
    host::JobSide dst = {};
    PxRect crop = {};
    PxRect target = {};
    host::BlitEngine engine;

    void closeFence() {
        if (!isError(fence)) {
            close(fence);
            fence = -1;
        }
    }

    // Records a call that is accepted (status 0) and logs one that is refused.
    int record(Call call, const char* name, int status) {
        accepted.set(call, status == 0);
        if (status != 0) {
            logRefusal(name);
        }
        return status;
    }
};

PxAsyncBlitStream::PxAsyncBlitStream() : mState(std::make_unique<State>()) {}

PxAsyncBlitStream::~PxAsyncBlitStream() { mState->closeFence(); }

int PxAsyncBlitStream::createJob(unsigned int& jobId, int& fence) {
    // Drops a job that was created but never started.
    mState->closeFence();
    mState->accepted.reset();
    mState->fence = host::resultOf(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const int callersFence =
        isError(mState->fence) ? mState->fence : host::duplicateDescriptor(mState->fence);
    if (isError(callersFence)) {
        mState->closeFence();
        return callersFence;
    }
    jobId = ++mState->jobId;
    fence = callersFence;
    return 0;
}

int PxAsyncBlitStream::setConfigBegin(unsigned int jobId) {
    return mState->record(BEGIN, "setConfigBegin", jobId == mState->jobId ? 0 : -EINVAL);
}

int PxAsyncBlitStream::setSrcBuffer(int fd, unsigned int* sizes, unsigned int planeCount,
                                    int /*reserved*/) {
    setBuffer(mState->src, fd, sizes, planeCount);
    return mState->record(SRC_BUFFER, "setSrcBuffer", 0);
}

int PxAsyncBlitStream::setSrcConfig(int width, int height, int yPitch, int uvPitch,
                                    PX_COLOR_ENUM color, PX_PROFILE_ENUM profile,
                                    PxInterlaceFormat /*interlace*/, PxSecure /*secure*/,
                                    bool /*reservedFlag*/, unsigned int /*reserved*/) {
    setConfig(mState->src, width, height, yPitch, uvPitch, color, profile);
    return mState->record(SRC_CONFIG, "setSrcConfig", 0);
}

int PxAsyncBlitStream::setSrcCrop(unsigned int output, PxRect crop) {
    mState->crop = crop;
    return mState->record(SRC_CROP, "setSrcCrop", output == 0 ? 0 : -EINVAL);
}

int PxAsyncBlitStream::setDstBuffer(unsigned int output, int fd, unsigned int* sizes,
                                    unsigned int planeCount, int /*reserved*/) {
    setBuffer(mState->dst, fd, sizes, planeCount);
    return mState->record(DST_BUFFER, "setDstBuffer", output == 0 ? 0 : -EINVAL);
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
    const bool valid = output == 0 && target != nullptr;
    return mState->record(DST_CONFIG, "setDstConfig", valid ? 0 : -EINVAL);
}

int PxAsyncBlitStream::setConfigEnd() { return mState->record(END, "setConfigEnd", 0); }

int PxAsyncBlitStream::invalidate(timeval* /*now*/) {
    State& state = *mState;
    const bool complete = !isError(state.fence) && state.accepted.all() &&
                          isWholeFrame(state.crop, state.src.width, state.src.height) &&
                          isWholeFrame(state.target, state.dst.width, state.dst.height);
    if (!complete) {
        logRefusal("invalidate");
        return -EINVAL;
    }
    const int status = state.engine.run(state.src, state.dst);
    if (status == 0 && eventfd_write(state.fence, 1) != 0) {
        return -errno;
    }
    state.closeFence();
    return status;
}
