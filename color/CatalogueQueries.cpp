// These queries tell the names, output formats, platforms and sizes of the catalogue.
#include <cutils/properties.h>

#include <algorithm>
#include <cstring>

#include "color/Catalogue.h"

namespace {

bool contains(const char* const* boards, const char* board) {
    for (; *boards != nullptr; ++boards) {
        if (strcmp(*boards, board) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

ColorConvert::ColorFormat ColorConvert::getColorFormatFromStr(std::string name) {
    for (const ColorFormatInfo& info : colorFormatInfos) {
        if (info.name == name) {
            return info.value;
        }
    }
    return UNKNOWN;
}

int ColorConvert::getColorSpaceFromStr(std::string name) {
    for (const ColorSpaceInfo& info : colorSpaceInfos) {
        if (info.name == name) {
            return info.value;
        }
    }
    return BT601_LIMIT;
}

std::string ColorConvert::getExtensionName(ColorFormat format) {
    return colorFormatInfo(format).extension;
}

ColorConvert::ColorFormat ColorConvert::getDefaultOutputFormat(ColorFormat format) {
    return colorFormatInfo(format).defaultOutput;
}

bool ColorConvert::isSeparate(ColorFormat format) {
    return colorFormatInfo(format).parts != nullptr;
}

bool ColorConvert::checkPlatformSupport(ColorFormat format) {
    char board[PROPERTY_VALUE_MAX] = {};
    property_get("ro.board.platform", board, "");
    const PlatformSupport& support = colorFormatInfo(format).support;
    const bool listed = contains(support.boards, board);
    return support.kind == PlatformSupport::ONLY_ON ? listed : !listed;
}

int64_t ColorConvert::roundUp(int value, int alignment) {
    const int64_t step = alignment;
    return step == 0 ? 0 : (value + step - 1) / step * step;
}

std::pair<int, int> ColorConvert::getDefaultAlignedSize(int width, int height, ColorFormat format) {
    if (format == UNKNOWN) {
        return {0, 0};
    }
    const ColorFormatInfo& info = colorFormatInfo(format);
    return {Size(roundUp(width, info.widthAlignment)).value(),
            Size(roundUp(height, info.heightAlignment)).value()};
}

int ColorConvert::getFrameSize(int width, int height, ColorFormat format) {
    const ColorFormatInfo& info = colorFormatInfo(format);
    if (info.calculate == nullptr) {
        return 0;
    }
    // A separate frame ends with its last part, which may be a header that the plane rule leaves
    // out.
    if (isSeparate(format)) {
        int end = -1;
        for (const auto& [size, offset] : getSeparateSize(width, height, format)) {
            end = std::max(end, offset + size);
        }
        return end;
    }
    ColorConvertBuffer buffer;
    buffer.mWidth = width;
    buffer.mHeight = height;
    info.calculate(buffer);
    if (buffer.mPlaneCount == 0) {
        return -1;
    }
    return static_cast<int>(buffer.mPlaneSize[0] + buffer.mPlaneSize[1] + buffer.mPlaneSize[2]);
}

std::vector<std::pair<int, int>> ColorConvert::getSeparateSize(int width, int height,
                                                               ColorFormat format) {
    std::vector<std::pair<int, int>> list;
    if (!isSeparate(format)) {
        return list;
    }
    for (const FramePart& part : colorFormatInfo(format).parts(Size(width) * height)) {
        if (!(part.offset + part.size).fits()) {
            return {};
        }
        list.emplace_back(part.size.value(), part.offset.value());
    }
    return list;
}
