// With the chip's blit library (libpxframework), the blit engine runs jobs on device buffers.
#pragma once

#include <sys/time.h>

#include <cstdint>
#include <memory>

// This is the code of a pixel layout.
enum PX_COLOR_ENUM : uint32_t {};

// This is the code of a YUV matrix and range.
enum PX_PROFILE_ENUM : uint32_t {};

enum PxInterlaceFormat : uint32_t {};
enum PxSecure : uint32_t {};

// This is a rectangle in pixels. The device's structure has a second field after each value, which
// is 0.
struct PxRect {
    int32_t left;
    int32_t leftCompanion;
    int32_t top;
    int32_t topCompanion;
    int32_t width;
    int32_t widthCompanion;
    int32_t height;
    int32_t heightCompanion;
};

// A stream has one job at a time. The calls of a job are createJob, setConfigBegin, the source and
// destination calls, setConfigEnd and invalidate. Every call returns 0, or a negated errno. Buffers
// stay the caller's and must live until the job's fence has signalled.
class PxAsyncBlitStream {
  public:
    PxAsyncBlitStream();
    ~PxAsyncBlitStream();
    PxAsyncBlitStream(const PxAsyncBlitStream&) = delete;
    PxAsyncBlitStream& operator=(const PxAsyncBlitStream&) = delete;

    // fence becomes a new descriptor > 0 that signals when the job is done. The caller closes it.
    int createJob(unsigned int& jobId, int& fence);
    int setConfigBegin(unsigned int jobId);
    // sizes has the bytes of each plane. The planes lie back to back in the buffer.
    int setSrcBuffer(int fd, unsigned int* sizes, unsigned int planeCount, int reserved);
    // yPitch and uvPitch are bytes per row.
    int setSrcConfig(int width, int height, int yPitch, int uvPitch, PX_COLOR_ENUM color,
                     PX_PROFILE_ENUM profile, PxInterlaceFormat interlace, PxSecure secure,
                     bool reservedFlag, unsigned int reserved);
    int setSrcCrop(unsigned int output, PxRect crop);
    int setDstBuffer(unsigned int output, int fd, unsigned int* sizes, unsigned int planeCount,
                     int reserved);
    int setDstConfig(unsigned int output, int width, int height, int yPitch, int uvPitch,
                     PX_COLOR_ENUM color, PX_PROFILE_ENUM profile, PxInterlaceFormat interlace,
                     PxRect* target, PxSecure secure, bool reservedFlag, unsigned int reserved,
                     int reservedLast);
    int setConfigEnd();
    // Starts the job.
    int invalidate(timeval* now);

  private:
    struct State;
    std::unique_ptr<State> mState;
};
