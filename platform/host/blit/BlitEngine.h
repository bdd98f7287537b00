// The blit engine. A job converts one frame. The engine checks both sides of the job against their
// buffers, maps the buffers, and then works through the frame in strips. It unpacks each strip to
// the linear format of the source: straight into the destination if no sample changes its value,
// else into working memory, from where a color transform takes it to the destination.
#pragma once

#include <cstdint>
#include <vector>

#include "BufferMapping.h"
#include "ColorTransform.h"
#include "Layout.h"
#include "Unpack.h"

namespace host {

// The source or the destination of a job, as the caller configured it.
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

// Runs jobs one after another and keeps its working memory from job to job.
class BlitEngine {
  public:
    // Returns 0 when the frame is converted. Otherwise logs the reason and returns a negated errno:
    // the frames don't fit their buffers, the engine doesn't support the conversion, or the buffers
    // can't be mapped.
    int run(const JobSide& src, const JobSide& dst);

  private:
    // A side that has been checked: its planes lie inside its buffer.
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

        // The plane's rows, beginning with the one of that number. In a plane of blocks, the rows
        // of blocks, beginning with the one that holds it.
        Rows rows(int plane, int row) const;
    };

    static int checkSide(const char* name, const JobSide& side, Frame& frame);
    static int checkSizes(const char* name, const JobSide& side, const Frame& frame);
    static int checkPlane(const char* name, const JobSide& side, Frame& frame, int index);
    static int checkPair(const Frame& src, const Frame& dst);
    static bool changesColors(const Frame& src, const Frame& dst);
    int mapAndConvert(Frame& src, Frame& dst);
    void warnOfCompression(const Frame& src);
    static void clearPadding(const Frame& dst);
    void convert(const Frame& src, const Frame& dst);
    void convertStrip(const Frame& src, const Frame& dst, int top, const Strip& strip,
                      const ColorTransform& transform);
    static void copyStrip(const Frame& src, const Frame& dst, int top, const Strip& strip);
    static void unpack(const Frame& src, int index, int top, int rowCount, Rows to);
    static ConstRows linearRows(const Frame& src, int index, int top, int rowCount,
                                std::vector<uint8_t>& memory);

    std::vector<uint8_t> mMainStrip;    // unpacked rows of pixels or luma
    std::vector<uint8_t> mChromaStrip;  // unpacked rows of Cb, Cr pairs
    std::vector<int32_t> mChromaTerms;  // working memory of the color transform
    bool mWarnedOfCompression = false;
};

}  // namespace host
