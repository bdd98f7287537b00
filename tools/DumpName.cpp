#include "DumpName.h"

#include <set>

#include "color/Catalogue.h"
#include "config/FormatConfig.h"
#include "fileutils/FileUtils.h"

namespace {

struct Dump {
    ColorConvert::ColorFormat format;
    int width;   // pixels, before alignment
    int height;  // lines, before alignment
    bool separate;
};

// Returns the files of the dump whose first file has this path, or none if the rules don't decode
// the dump from the path.
std::vector<std::string> decodedFiles(const Dump& dump, const std::string& path) {
    const auto match = findMatch(path);
    if (!match || match->colorFormat != colorFormatInfo(dump.format).name ||
        match->separate != dump.separate || match->width != dump.width ||
        match->height != dump.height) {
        return {};
    }
    const std::pair<int64_t, int64_t> aligned = {
        ColorConvert::roundUp(dump.width, match->widthAlignment),
        ColorConvert::roundUp(dump.height, match->heightAlignment)};
    if (aligned != std::pair<int64_t, int64_t>(
                       ColorConvert::getDefaultAlignedSize(dump.width, dump.height, dump.format))) {
        return {};
    }
    if (!dump.separate) {
        return {path};
    }
    const std::vector<std::string> files = {match->yBodyFile, match->yHeaderFile, match->cBodyFile,
                                            match->cHeaderFile};
    const std::set<std::string> distinct(files.begin(), files.end());
    return files[0] == path && distinct.size() == files.size() ? files : std::vector<std::string>();
}

// Returns names that no built-in rule decodes.
std::vector<std::string> otherFiles(const std::string& stem, bool separate,
                                    const std::string& end) {
    if (!separate) {
        return {stem + ".yuv"};
    }
    const std::string set = stem + end;
    return {set + "_Y.dat", set + "_Y.len", set + "_C.dat", set + "_C.len"};
}

}  // namespace

DumpName nameDump(const std::string& folder, ColorConvert::ColorFormat format, int width,
                  int height, bool separate, int number) {
    if (formatConfigs.empty()) {
        FileUtils::parseConfigFile("");
    }
    const std::string size = "_W" + std::to_string(width) + "H" + std::to_string(height) + "_";
    const std::string end = "_" + std::to_string(number);
    // These are names as the video stack writes them, with each code that the rules know.
    for (const FormatConfig& rule : formatConfigs) {
        for (const FormatConfig::FormatPair& pair : rule.formatPairs) {
            for (const char* start : {"/vdec_output_0", "/venc_input_0"}) {
                const auto files = decodedFiles({format, width, height, separate},
                                                folder + start + size + "F" + pair.formatStr + end +
                                                    (separate ? "_" + pair.yBody : ".yuv"));
                if (!files.empty()) {
                    return {files, true};
                }
            }
        }
    }
    return {otherFiles(folder + "/dump_0" + size + colorFormatInfo(format).name, separate, end),
            false};
}
