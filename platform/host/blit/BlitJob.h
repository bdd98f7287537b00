// One job of the blit engine: checks what it was told, then converts the frame strip by strip.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "BufferWindow.h"
#include "ColorStep.h"
#include "Layout.h"
#include "Unpack.h"

namespace host {

// One side of a job as told.
struct JobSide {
    int fd = -1;
    uint32_t sizes[3] = {};  // bytes a plane
    uint32_t planeCount = 0;
    int width = 0;   // pixels
    int height = 0;  // lines
    int yPitch = 0;  // bytes a row
    int uvPitch = 0;
    uint32_t color = 0;
    uint32_t profile = 0;
};

// Runs jobs one after the other; keeps its memory and the buffers' mappings from job to job.
class BlitJob {
  public:
    // 0 when the frame is converted; a negated errno, logged, when the job doesn't fit its buffers,
    // is none that the engine can do, or a buffer can't be mapped.
    int run(const JobSide& src, const JobSide& dst);

  private:
    // A side that has been found to fit its buffer.
    struct Frame {
        const Layout* layout;
        BufferId buffer;
        Bodies bodies;
        std::array<int64_t, 3> pitches;  // bytes a row or a block row
        int width;
        int height;
    };

    static int check(const char* name, const JobSide& side, Frame& frame);
    static int checkPlane(const char* name, const JobSide& side, Frame& frame, int index);
    int convert(const Frame& src, const Frame& dst, bool colorStep, const ColorStep& step);
    bool convertStrip(const Frame& src, const Frame& dst, int top, const Strip& strip,
                      const ColorStep& step);
    bool copyStrip(const Frame& src, const Frame& dst, int top, const Strip& strip);

    // Maps lines rows of a plane, from the block row that holds the first line on.
    bool mapRows(const Frame& frame, int index, bool writable, int line, int lines, Rows& rows);
    bool mapSource(const Frame& frame, int index, int line, int lines, ConstRows& rows);
    bool mapOutput(const Frame& frame, int top, const Strip& strip, Planes<Rows>& out);
    bool unpackMain(const Frame& src, int top, int lines, Rows to);
    bool unpackChroma(const Frame& src, int top, int lines, Rows to);
    bool plainMain(const Frame& src, int top, const Strip& strip, ConstRows& rows);
    bool plainChroma(const Frame& src, int top, const Strip& strip, ConstRows& rows);

    // A window a plane. All planes of an 8-bit 1920 x 1088 frame fit theirs, and so stay mapped.
    static constexpr int64_t MIB = 1 << 20;
    BufferWindow mSrcWindows[3] = {BufferWindow(3 * MIB), BufferWindow(MIB), BufferWindow(MIB)};
    BufferWindow mDstWindows[2] = {BufferWindow(4 * MIB), BufferWindow(2 * MIB)};
    std::vector<uint8_t> mMainStrip;
    std::vector<uint8_t> mChromaStrip;
    std::vector<int32_t> mTerms;
    bool mToldStored = false;
};

}  // namespace host
