// The blit engine runs jobs, each of which converts one frame. It checks both sides of the job
// against their buffers, maps the buffers, and then works through the frame in strips. It unpacks
// each strip to the linear format of the source: straight into the destination if no sample changes
// its value, else into working memory, from where a color transform takes it to the destination.
#pragma once

#include <cstdint>
#include <vector>

#include "ColorTransform.h"

namespace host {

// A JobSide is the source or the destination of a job, as the caller configured it.
struct JobSide {
    int fd;
    uint32_t sizes[MAX_PLANES];  // bytes of each plane
    uint32_t planeCount;
    int width;   // pixels
    int height;  // lines
    int yPitch;  // bytes per row
    int uvPitch;
    uint32_t color;
    uint32_t profile;
};

struct Frame;  // a side that has been checked

// Runs jobs one after another and keeps its working memory from job to job.
class BlitEngine {
  public:
    // Returns 0 if the frame is converted. Otherwise this logs the reason and returns a negated
    // errno: the frames don't fit their buffers, the engine doesn't support the conversion, or the
    // buffers can't be mapped.
    int run(const JobSide& src, const JobSide& dst);

  private:
    void warnOfCompression(const Frame& src);
    void convert(const Frame& src, const Frame& dst);
    void convertStrip(const Frame& src, const Frame& dst, int top, const Strip& strip,
                      const ColorTransform& transform);

    std::vector<uint8_t> mMainStrip;    // unpacked rows of pixels or luma
    std::vector<uint8_t> mChromaStrip;  // unpacked rows of Cb, Cr pairs
    std::vector<int32_t> mChromaTerms;  // working memory of the color transform
    bool mWarnedOfCompression = false;
};

}  // namespace host
