#include "DumpName.h"

#include <set>

#include "color/Catalogue.h"
#include "config/FormatConfig.h"
#include "fileutils/FileUtils.h"

DumpName nameDump(const std::string& folder, ColorConvert::ColorFormat format, int width,
                  int height, bool separate, int number) {
    if (formatConfigs.empty()) {
        FileUtils::parseConfigFile("");
    }
    const char* name = colorFormatInfo(format).name;
    const std::string size = "_W" + std::to_string(width) + "H" + std::to_string(height) + "_";
    const std::string end = "_" + std::to_string(number);
    const auto aligned = ColorConvert::getDefaultAlignedSize(width, height, format);
    // What the rules make of the path: the dump, or not.
    const auto tryPath = [&](const std::string& path) {
        const auto match = findMatch(path);
        DumpName found = {{path}, false};
        if (!match || match->colorFormat != name || match->separate != separate ||
            match->width != width || match->height != height) {
            return found;
        }
        if (separate) {
            found.files = {match->yBodyFile, match->yHeaderFile, match->cBodyFile,
                           match->cHeaderFile};
        }
        const std::set<std::string> distinct(found.files.begin(), found.files.end());
        found.decoded = distinct.size() == found.files.size() && found.files[0] == path &&
                        ColorConvert::roundUp(width, match->widthAlignment) == aligned.first &&
                        ColorConvert::roundUp(height, match->heightAlignment) == aligned.second;
        return found;
    };
    // Names as the video stack writes them, with each code that the rules know.
    for (const FormatConfig& rule : formatConfigs) {
        for (const FormatConfig::FormatPair& pair : rule.formatPairs) {
            for (const char* start : {"/vdec_output_0", "/venc_input_0"}) {
                DumpName found = tryPath(folder + start + size + "F" + pair.formatStr + end +
                                         (separate ? "_" + pair.yBody : ".yuv"));
                if (found.decoded) {
                    return found;
                }
            }
        }
    }
    const std::string stem = folder + "/dump_0" + size + name;
    if (!separate) {
        return {{stem + ".yuv"}, false};
    }
    const std::string set = stem + end;
    return {{set + "_Y.dat", set + "_Y.len", set + "_C.dat", set + "_C.len"}, false};
}
