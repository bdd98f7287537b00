#include "FrameGeometry.h"

#include <algorithm>

#include "color/Catalogue.h"

FrameGeometry::FrameGeometry(ColorConvert::ColorFormat format, int width, int height)
    : size(ColorConvert::getFrameSize(width, height, format)),
      layout(*host::findLayout(colorFormatInfo(format).pxColor)),
      buffer{format, ColorConvert::BT601_LIMIT, width, height} {
    colorFormatInfo(format).calculate(buffer);
    offsets = layout.offsets(width, height, buffer.mPlaneSize);
}

int64_t FrameGeometry::bytesOf(size_t plane, int lines) const {
    const host::PlaneLayout& stored = layout.planes[plane];
    const int64_t rows = stored.rows(lines);
    if (stored.isLinear()) {
        return rows * (plane == 0 ? buffer.mYPitch : buffer.mUVPitch);
    }
    const int64_t blocks = stored.samplesPerRow(layout.format, buffer.mWidth) / stored.blockWidth;
    return rows / stored.blockHeight * blocks * stored.blockBytes;
}

bool FrameGeometry::isWholeBlocks() const {
    return std::all_of(
        layout.planes, layout.planes + layout.planeCount, [&](const host::PlaneLayout& plane) {
            return plane.isLinear() ||
                   (plane.samplesPerRow(layout.format, buffer.mWidth) % plane.blockWidth == 0 &&
                    plane.rows(buffer.mHeight) % plane.blockHeight == 0);
        });
}

bool FrameGeometry::isCompressed(DumpFile& file) const {
    if (layout.compressedName == nullptr) {
        return false;
    }
    const int64_t lastFrame = std::max<int64_t>(0, file.size() / size - 1) * size;
    return std::any_of(offsets.headers.begin(), offsets.headers.end(),
                       [&](const host::Span& header) {
                           return file.isUsed(header.offset, header.size) ||
                                  file.isUsed(lastFrame + header.offset, header.size);
                       });
}
