#include "DumpName.h"

#include "Text.h"
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
bool isDecoded(const std::vector<std::string>& files, const CommandLineOptions& dump) {
    const auto match = findMatch(files[0]);
    FileJob job;
    if (!match || !getFileJobFromMatch(*match, false, job) || job.inputFormat != dump.inputFormat ||
        match->width != dump.width || match->height != dump.height ||
        ColorConvert::getDefaultAlignedSize(dump.width, dump.height, dump.inputFormat) !=
            std::pair(job.alignedWidth, job.alignedHeight)) {
        return false;
    }
    const std::vector<std::string> parts = {job.yBodyFile, job.yHeaderFile, job.cBodyFile,
                                            job.cHeaderFile};
    return job.separate ? files == parts : files.size() == 1;
}

}  // namespace

DumpName nameDump(const CommandLineOptions& dump, bool separate, int number) {
    if (formatConfigs.empty()) {
        FileUtils::parseConfigFile("");
    }
    const std::string size = concat("_W", dump.width, "H", dump.height, "_");
    const std::string end = "_" + std::to_string(number);
    // These are names as the video stack writes them, with each code that the rules know.
    for (const FormatConfig& rule : formatConfigs) {
        for (const FormatConfig::FormatPair& pair : rule.formatPairs) {
            for (const char* start : {"/vdec_output_0", "/venc_input_0"}) {
                const auto files =
                    filesOf(dump.outputPath + start + size + "F" + pair.formatStr + end, separate);
                if (isDecoded(files, dump)) {
                    return {files, true};
                }
            }
        }
    }
    const std::string stem =
        dump.outputPath + "/dump_0" + size + colorFormatInfo(dump.inputFormat).name;
    return {filesOf(stem + (separate ? end : ""), separate), false};
}
