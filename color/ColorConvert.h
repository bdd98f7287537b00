// ColorConvert knows the color formats and color spaces, and the geometry of frames. It has the
// blit engine convert a frame.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class PxAsyncBlitStream;

class ColorConvert {
  public:
    // A value is the number of its row in colorFormatInfos. If a row is missing, the build fails.
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
        COLOR_FORMAT_COUNT  // This is no format and stays last.
    };

    // A value is the number of its row in colorSpaceInfos.
    enum ColorSpace : int32_t {
        BT601_LIMIT,
        BT601_FULL,
        BT709_LIMIT,
        BT709_FULL,
        BT2020_LIMIT,
        BT2020_FULL,
        COLOR_SPACE_COUNT  // This is no color space and stays last.
    };

    // One side of a conversion is a frame in a device buffer. The caller fills the first five
    // fields, and the format's plane rule fills the others.
    struct ColorConvertBuffer {
        ColorFormat mFormat = UNKNOWN;
        int32_t mColorSpace = BT601_LIMIT;
        int32_t mWidth = 0;           // pixels
        int32_t mHeight = 0;          // lines
        int32_t mFd = -1;             // the buffer's shareable descriptor, not owned
        uint32_t mPlaneSize[3] = {};  // bytes; 0 for a plane that the format does not have
        int32_t mYPitch = 0;          // bytes per row of plane 0
        int32_t mUVPitch = 0;         // bytes per row of the chroma planes; 0 for RGB and Lumo
        // It is 0 if a size is out of range. Pitches and plane sizes are then undefined.
        uint32_t mPlaneCount = 0;
    };

    struct ColorConvertConfig {
        ColorConvertBuffer mSrc;
        ColorConvertBuffer mDst;
    };

    // These functions query the catalogue. Names are case-sensitive.

    // Returns UNKNOWN if no format has that name.
    static ColorFormat getColorFormatFromStr(std::string name);
    // Returns BT601_LIMIT if no color space has that name.
    static int getColorSpaceFromStr(std::string name);
    // Returns the extension of output files in that format, without the dot. Formats that are never
    // an output have "yuv".
    static std::string getExtensionName(ColorFormat format);
    static ColorFormat getDefaultOutputFormat(ColorFormat format);
    // Returns true if frames of the format come as four part files.
    static bool isSeparate(ColorFormat format);
    // Returns true if the blit engine of the board (ro.board.platform) reads the format.
    static bool checkPlatformSupport(ColorFormat format);

    // These functions compute sizes in bytes. Width (pixels) and height (lines) are aligned
    // already.

    // Rounds up to a multiple of the alignment. The result may leave the signed 32-bit range. It is
    // 0 if the alignment is 0, else it is (value + alignment - 1) / alignment x alignment.
    static int64_t roundUp(int value, int alignment);
    // Returns the width and the height, each rounded up to the format's alignment, or -1 for one
    // that leaves the range.
    static std::pair<int, int> getDefaultAlignedSize(int width, int height, ColorFormat format);
    // Returns the bytes of a frame, -1 if they leave the signed 32-bit range, or 0 for UNKNOWN.
    static int getFrameSize(int width, int height, ColorFormat format);
    // Returns the size and the offset in the frame of a separate format's luma body, luma header,
    // chroma body and chroma header. The list is empty for other formats and for frames out of
    // range.
    static std::vector<std::pair<int, int>> getSeparateSize(int width, int height,
                                                            ColorFormat format);

    ColorConvert();
    ~ColorConvert();
    ColorConvert(const ColorConvert&) = delete;
    ColorConvert& operator=(const ColorConvert&) = delete;

    // Converts a frame and waits until that is done. Returns 0, or -1 after one log entry. The
    // buffers stay the caller's.
    int convertFrame(ColorConvertConfig config);

  private:
    std::unique_ptr<PxAsyncBlitStream> mBlitStream;
};
