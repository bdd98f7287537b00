// The color formats and spaces the tool knows, the geometry of their frames, and the job that
// converts one frame on the blit engine.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class PxAsyncBlitStream;

class ColorConvert {
  public:
    // A value is the number of its row in colorFormatInfos, which doesn't compile without the row.
    enum ColorFormat : int32_t {
        UNKNOWN,
        RGB888,
        RGBA8888,
        RGBA1010102,
        RGBA8888_AFBC,
        RGBA1010102_AFBC,
        NV12,
        P010,
        YV12,
        YUV420P,
        YUV420P_AFBC,
        YUV420P_10BIT_AFBC,
        NV12_BLK,
        NV12_BLK_10BIT_V,
        CPQ,
        CPQ_10BIT_V,
        NV12_LUMO,
        P010_LUMO,
        COLOR_FORMAT_COUNT  // no format; stays last
    };

    // A value is the number of its row in colorSpaceInfos.
    enum ColorSpace : int32_t {
        BT601_LIMIT,
        BT601_FULL,
        BT709_LIMIT,
        BT709_FULL,
        BT2020_LIMIT,
        BT2020_FULL,
        COLOR_SPACE_COUNT  // no color space; stays last
    };

    // One side of a conversion: one frame in one device buffer. The caller fills the first five
    // fields, the format's plane rule the others.
    struct ColorConvertBuffer {
        ColorFormat mFormat = UNKNOWN;
        int32_t mColorSpace = BT601_LIMIT;
        int32_t mWidth = 0;           // pixels
        int32_t mHeight = 0;          // lines
        int32_t mFd = -1;             // the buffer's shareable descriptor, not owned
        uint32_t mPlaneSize[3] = {};  // bytes; 0 for a plane that the format does not have
        int32_t mYPitch = 0;          // bytes per row of plane 0
        int32_t mUVPitch = 0;         // bytes per row of the chroma planes; 0 for RGB and Lumo
        // 0 when a size is out of range; the pitches and plane sizes are then undefined.
        uint32_t mPlaneCount = 0;
    };

    struct ColorConvertConfig {
        ColorConvertBuffer mSrc;
        ColorConvertBuffer mDst;
    };

    // Catalogue. Names compare exactly and case-sensitively.

    // UNKNOWN when no format has that name.
    static ColorFormat getColorFormatFromStr(std::string name);
    // BT601_LIMIT when no color space has that name.
    static int getColorSpaceFromStr(std::string name);
    // Extension of output files in that format, without the dot; "yuv" for formats that are never
    // an output.
    static std::string getExtensionName(ColorFormat format);
    static ColorFormat getDefaultOutputFormat(ColorFormat format);
    // True for the formats whose frames come as four part files.
    static bool isSeparate(ColorFormat format);
    // True when the blit engine of the board (ro.board.platform) reads the format.
    static bool checkPlatformSupport(ColorFormat format);

    // Geometry. Sizes are in bytes; width (pixels) and height (lines) are aligned already.

    // (value + alignment - 1) / alignment x alignment, 0 for an alignment of 0: the next multiple,
    // of positive numbers. The result may leave the signed 32-bit range.
    static int64_t roundUp(int value, int alignment);
    // (width, height), each rounded up to the format's alignment; -1 where that leaves the range.
    static std::pair<int, int> getDefaultAlignedSize(int width, int height, ColorFormat format);
    // Bytes of one frame; -1 when the frame leaves the signed 32-bit range, 0 for UNKNOWN.
    static int getFrameSize(int width, int height, ColorFormat format);
    // (size, offset in the frame) of a separate format's luma body, luma header, chroma body and
    // chroma header; empty for other formats and for frames that getFrameSize refuses.
    static std::vector<std::pair<int, int>> getSeparateSize(int width, int height,
                                                            ColorFormat format);

    // Conversion.

    ColorConvert();
    ~ColorConvert();
    ColorConvert(const ColorConvert&) = delete;
    ColorConvert& operator=(const ColorConvert&) = delete;

    // Converts one frame and waits until it is done: 0, or -1 after one log line. Both buffers
    // stay the caller's.
    int convertFrame(ColorConvertConfig config);

  private:
    std::unique_ptr<PxAsyncBlitStream> mBlitStream;
};
