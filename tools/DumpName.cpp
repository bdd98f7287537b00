#include "DumpName.h"

#include <algorithm>

#include "Text.h"
#include "color/Catalogue.h"
#include "driver/FileJob.h"
#include "fileutils/FileUtils.h"

namespace {

std::vector<std::string> filesOf(const std::string& stem, int sets) {
    if (sets == 0) {
        return {stem + ".yuv"};
    }
    std::vector<std::string> files;
    for (int i = 0; i < sets; ++i) {
        for (const char* end : {"_Y.dat", "_Y.len", "_C.dat", "_C.len"}) {
            files.push_back(concat(stem, "_", i, end));
        }
    }
    return files;
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

DumpName nameDump(const CommandLineOptions& dump, int sets) {
    if (formatConfigs.empty()) {
        FileUtils::parseConfigFile("");
    }
    const std::string size = concat("_W", dump.width, "H", dump.height, "_");
    // These are names as the video stack writes them, with each code that the rules know.
    for (const FormatConfig& rule : formatConfigs) {
        for (const FormatConfig::FormatPair& pair : rule.formatPairs) {
            for (const char* start : {"/vdec_output_0", "/venc_input_0"}) {
                const std::string stem = concat(dump.outputPath, start, size, "F", pair.formatStr,
                                                sets == 0 ? "_0" : "");
                if (isDecoded(filesOf(stem, std::min(sets, 1)), dump)) {
                    return {filesOf(stem, sets), true};
                }
            }
        }
    }
    const std::string stem = dump.outputPath + "/dump_0" + size;
    return {filesOf(stem + colorFormatInfo(dump.inputFormat).name, sets), false};
}
