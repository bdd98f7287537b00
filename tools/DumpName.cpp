#include "DumpName.h"

#include "color/Catalogue.h"
#include "driver/FileJob.h"
#include "fileutils/FileUtils.h"

namespace {

std::vector<std::string> filesOf(const std::string& stem, bool separate) {
    if (!separate) {
        return {stem + ".yuv"};
    }
    return {stem + "_Y.dat", stem + "_Y.len", stem + "_C.dat", stem + "_C.len"};
}

// Returns true if the rules find the dump's size, format and files by the path of its first file.
bool isDecoded(const std::vector<std::string>& files, ColorConvert::ColorFormat format, int width,
               int height) {
    const auto match = findMatch(files[0]);
    FileJob job;
    if (!match || !getFileJobFromMatch(*match, false, job) || job.inputFormat != format ||
        match->width != width || match->height != height ||
        ColorConvert::getDefaultAlignedSize(width, height, format) !=
            std::pair(job.alignedWidth, job.alignedHeight)) {
        return false;
    }
    const std::vector<std::string> parts = {job.yBodyFile, job.yHeaderFile, job.cBodyFile,
                                            job.cHeaderFile};
    return job.separate ? files == parts : files.size() == 1;
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
                const auto files =
                    filesOf(folder + start + size + "F" + pair.formatStr + end, separate);
                if (isDecoded(files, format, width, height)) {
                    return {files, true};
                }
            }
        }
    }
    const std::string stem = folder + "/dump_0" + size + colorFormatInfo(format).name;
    return {filesOf(stem + (separate ? end : ""), separate), false};
}
