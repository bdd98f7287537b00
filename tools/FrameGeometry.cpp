#include "FrameGeometry.h"

#include <algorithm>
#include <vector>

#include "color/Catalogue.h"
#include "fileutils/FileUtils.h"

FrameGeometry::FrameGeometry(ColorConvert::ColorFormat format, int width, int height)
    : layout(*host::findLayout(colorFormatInfo(format).pxColor)) {
    buffer.mFormat = format;
    buffer.mWidth = width;
    buffer.mHeight = height;
    colorFormatInfo(format).calculate(buffer);
    offsets = layout.offsets(width, height, buffer.mPlaneSize);
}

bool FrameGeometry::isCompressed(const std::string& path) const {
    return layout.compressed != nullptr &&
           std::any_of(
               offsets.headers.begin(), offsets.headers.end(),
               [&](const host::Span& header) { return isUsed(path, header.offset, header.size); });
}

bool isUsed(const std::string& path, int64_t offset, int64_t size) {
    std::vector<unsigned char> bytes(static_cast<size_t>(size));
    FileUtils::readFromFile(path, bytes.data(), static_cast<int>(size), static_cast<int>(offset),
                            1);
    return std::any_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte != 0; });
}
