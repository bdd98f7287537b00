// One job of the blit engine: checks what it was told, then converts the frame strip by strip.
#pragma once

#include <cstdint>
#include <vector>

#include "BufferMapping.h"
#include "ColorStep.h"
#include "Layout.h"
#include "Unpack.h"

namespace host {

// One side of a job as told.
struct JobSide {
    int fd;
    uint32_t sizes[MOST_PLANES];  // bytes a plane
    uint32_t planeCount;
    int width;   // pixels
    int height;  // lines
    int yPitch;  // bytes a row
    int uvPitch;
    uint32_t color;
    uint32_t profile;
};

// Runs jobs one after the other; keeps its working memory from job to job.
class BlitJob {
  public:
    // 0 when the frame is converted; a negated errno, logged, when the job doesn't fit its buffers,
    // is none that the engine can do, or memory runs short.
    int run(const JobSide& src, const JobSide& dst);

  private:
    // A side that has been found to fit its buffer.
    struct Frame {
        const Layout* layout;
        const Profile* profile;
        BufferId buffer;
        Places places;
        PlaneBytes pitches;  // bytes a row or a block row
        PlaneBytes sizes;    // bytes that the rows of a plane take
        PlaneBytes rests;    // bytes told of the plane that no row takes
        int width;
        int height;
        uint8_t* data;  // the buffer's bytes

        // The rows of a plane from a line on, or the block rows from the one that holds it on.
        Rows rows(int plane, int line) const;
    };

    static int checkSide(const char* name, const JobSide& side, Frame& frame);
    static int checkPlane(const char* name, const JobSide& side, Frame& frame, int index);
    static int checkPair(const Frame& src, const Frame& dst);
    static bool changesColors(const Frame& src, const Frame& dst);
    int mapAndConvert(Frame& src, Frame& dst);
    void warnOfCompression(const Frame& src);
    static void clearRests(const Frame& dst);
    void convert(const Frame& src, const Frame& dst);
    void convertStrip(const Frame& src, const Frame& dst, int top, const Strip& strip,
                      const ColorStep& step);
    static void copyStrip(const Frame& src, const Frame& dst, int top, const Strip& strip);
    static void unpackMain(const Frame& src, int top, int lines, Rows to);
    static void unpackChroma(const Frame& src, int top, int lines, Rows to);
    ConstRows plainMain(const Frame& src, int top, const Strip& strip);
    ConstRows plainChroma(const Frame& src, int top, const Strip& strip);

    std::vector<uint8_t> mMainStrip;
    std::vector<uint8_t> mChromaStrip;
    std::vector<int32_t> mTerms;
    bool mWarned = false;
};

}  // namespace host
