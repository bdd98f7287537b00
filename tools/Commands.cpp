#include "Commands.h"

#include "Text.h"
#include "blit/Layout.h"
#include "color/Catalogue.h"
#include "driver/FileConversion.h"

namespace {

using Color = ColorConvert;

constexpr const char* ANY_FOLDER = R"("${FOLDER:?}")";

}  // namespace

std::string commandFor(const Reading& reading, const std::string& path,
                       const CommandLineOptions& options) {
    const ColorFormatInfo& info = colorFormatInfo(reading.format);
    const auto& [width, height] = reading.size;
    const std::string& folder = options.outputPath;
    const std::string board = Color::checkPlatformSupport(reading.format)
                                  ? ""
                                  : concat("VEX_HOST_BOARD_PLATFORM=", info.support.boards[0], " ");
    const std::string command =
        concat(board, "VexConverter -i ", shellWord(path), " -o ",
               folder.empty() ? ANY_FOLDER : shellWord(folder), options.png ? " --png" : "");
    if (info.parts == nullptr) {
        return concat(command, " -w ", width, " -h ", height, " -f ", info.name);
    }
    // Options take no format of part files, so a rule says that these frames are whole.
    return concat(
        R"(echo '[{"Name": "whole frames", "Description": "", "Pattern": "")",
        R"(, "WidthIndex": -1, "HeightIndex": -1, "ColorFormatIndex": -1)",
        R"(, "SeparateStringIndex": -1, "DefaultWidth": )", width, R"(, "DefaultHeight": )", height,
        R"(, "DefaultWidthAlignment": )", info.widthAlignment, R"(, "DefaultHeightAlignment": )",
        info.heightAlignment, R"(, "DefaultColorFormat": ")", info.name,
        R"(", "ColorFormatPair": []}]' >whole-frames.json && )", command, " -c whole-frames.json");
}

std::string showCommandFor(const Reading& reading, const std::string& path,
                           const std::string& folder) {
    const auto& [width, height] = reading.size;
    const auto& [frameWidth, frameHeight] = reading.aligned;
    const bool isPadded = width != frameWidth || height != frameHeight;
    const auto format = Color::getDefaultOutputFormat(reading.format);
    return concat(
        "ffplay -f rawvideo -pixel_format ", pixelFormatOf(format), " -video_size ", frameWidth,
        "x", frameHeight, isPadded ? concat(" -vf crop=", width, ":", height, ":0:0") : "", " ",
        folder.empty() ? ANY_FOLDER : "", shellWord(getOutputPath(path, format, folder, false, 0)));
}

const char* pixelFormatOf(Color::ColorFormat format) {
    // The names have the order of host::LinearFormat.
    constexpr const char* NAMES[] = {"rgb24", "rgba", "x2bgr10le", "nv12", "p010le"};
    return NAMES[static_cast<int>(host::findLayout(colorFormatInfo(format).pxColor)->format)];
}
