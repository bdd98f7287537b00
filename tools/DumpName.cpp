#include "DumpName.h"

#include <set>

#include "color/Catalogue.h"
#include "config/FormatConfig.h"
#include "fileutils/FileUtils.h"

DumpNames::DumpNames(std::string folder, ColorConvert::ColorFormat format, int width, int height,
                     bool separate)
    : mFolder(std::move(folder)),
      mFormat(format),
      mWidth(width),
      mHeight(height),
      mSeparate(separate) {
    FileUtils::parseConfigFile("");
}

// The path, or those of its set, when the rules make of it what the dump is; none otherwise.
std::vector<std::string> DumpNames::tryName(const std::string& path) const {
    const auto match = findMatch(path);
    if (!match || match->colorFormat != colorFormatInfo(mFormat).name ||
        match->separate != mSeparate || match->width != mWidth || match->height != mHeight) {
        return {};
    }
    const std::pair aligned = {ColorConvert::roundUp(mWidth, match->widthAlignment),
                               ColorConvert::roundUp(mHeight, match->heightAlignment)};
    if (aligned != ColorConvert::getDefaultAlignedSize(mWidth, mHeight, mFormat)) {
        return {};
    }
    if (!mSeparate) {
        return {path};
    }
    std::vector<std::string> parts = {match->yBodyFile, match->yHeaderFile, match->cBodyFile,
                                      match->cHeaderFile};
    const bool distinct = std::set<std::string>(parts.begin(), parts.end()).size() == parts.size();
    return distinct && parts.front() == path ? parts : std::vector<std::string>();
}

// A rule is not read for what it wants: names that the video stack writes are tried with its codes.
std::vector<std::string> DumpNames::decodedFilesOf(int frame) const {
    const std::string size = "_W" + std::to_string(mWidth) + "H" + std::to_string(mHeight) + "_F";
    for (const FormatConfig& rule : formatConfigs) {
        for (const FormatConfig::FormatPair& pair : rule.formatPairs) {
            for (const char* start : {"/vdec_output_0", "/venc_input_0"}) {
                const std::string stem =
                    mFolder + start + size + pair.formatStr + "_" + std::to_string(frame);
                auto files = tryName(stem + (mSeparate ? "_" + pair.yBody : ".yuv"));
                if (!files.empty()) {
                    return files;
                }
            }
        }
    }
    return {};
}

std::vector<std::string> DumpNames::filesOf(int frame) const {
    std::vector<std::string> files = decodedFilesOf(mSeparate ? frame : 0);
    if (!files.empty()) {
        return files;
    }
    const std::string stem = mFolder + "/dump_0_W" + std::to_string(mWidth) + "H" +
                             std::to_string(mHeight) + "_" + colorFormatInfo(mFormat).name;
    if (!mSeparate) {
        return {stem + ".yuv"};
    }
    for (const char* ending : {"_Y.dat", "_Y.len", "_C.dat", "_C.len"}) {
        files.push_back(stem + "_" + std::to_string(frame) + ending);
    }
    return files;
}

std::string DumpNames::hint() const {
    const std::string unknown = "No built-in rule decodes ";
    if (!decodedFilesOf(0).empty()) {
        return "";
    }
    if (mSeparate) {
        return unknown + "these files; convert them with a rule of your own\n";
    }
    if (ColorConvert::isSeparate(mFormat)) {
        return unknown +
               "whole frames of this format; convert them with a rule whose pair says "
               "\"Separate\": false\n";
    }
    return unknown + "this format; convert it with -w " + std::to_string(mWidth) + " -h " +
           std::to_string(mHeight) + " -f " + colorFormatInfo(mFormat).name + "\n";
}
