#include "DumpCheck.h"

#include <cutils/properties.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <map>
#include <tuple>

#include "FrameGeometry.h"
#include "color/Catalogue.h"
#include "config/FormatConfig.h"
#include "driver/FileConversion.h"
#include "fileutils/FileUtils.h"

namespace {

namespace fs = std::filesystem;
using Color = ColorConvert;

std::string number(int64_t value) { return std::to_string(value); }

// What the options say of every file, or the rules of this one.
DumpCheck decode(const std::string& path, const CommandLineOptions& options) {
    DumpCheck dump;
    dump.path = path;
    FileJob& job = dump.job;
    if (options.width > 0 && options.height > 0 && options.inputFormat != Color::UNKNOWN) {
        dump.width = options.width;
        dump.height = options.height;
        job.inputFormat = options.inputFormat;
        job.outputFormat = Color::getDefaultOutputFormat(job.inputFormat);
        std::tie(job.alignedWidth, job.alignedHeight) =
            Color::getDefaultAlignedSize(dump.width, dump.height, job.inputFormat);
        if (Color::isSeparate(job.inputFormat)) {
            dump.problems.push_back(
                "Options cannot convert " + std::string(colorFormatInfo(job.inputFormat).name) +
                ": leave out -w, -h and -f, and give a rule that decodes the name.");
        }
        return dump;
    }
    const auto match = isConfigurationMode(options) ? findMatch(path) : std::nullopt;
    if (!match) {
        dump.needsCandidates = true;
        dump.problems.emplace_back(
            "No rule decodes the name: give all of -w, -h and -f, or a rule with -c.");
        return dump;
    }
    dump.rule = match->name;
    dump.width = match->width;
    dump.height = match->height;
    if (!getFileJobFromMatch(*match, false, job)) {
        job.alignedWidth = 0;
    }
    if (job.inputFormat == Color::UNKNOWN) {
        dump.needsCandidates = true;
        dump.problems.push_back("The rule names a color format that does not exist, " +
                                match->colorFormat + ": correct the rule.");
    }
    return dump;
}

// Says which boards read a format that this one does not.
void checkBoard(DumpCheck& dump) {
    if (Color::checkPlatformSupport(dump.job.inputFormat)) {
        return;
    }
    char board[PROPERTY_VALUE_MAX] = {};
    property_get("ro.board.platform", board, "");
    const ColorFormatInfo& info = colorFormatInfo(dump.job.inputFormat);
    std::string readers;
    for (const char* const* name = info.support.boards; *name != nullptr; ++name) {
        readers += std::string(readers.empty() ? "" : ", ") + *name;
    }
    const bool only = info.support.kind == PlatformSupport::ONLY_ON;
    const std::string which = *board == '\0'
                                  ? "No board is set (VEX_HOST_BOARD_PLATFORM), and "
                                  : "The board " + std::string(board) + " does not read ";
    dump.problems.push_back(which + info.name + (*board == '\0' ? " needs one" : "") +
                            (only ? ": use one of " : ": use any but ") + readers + ".");
}

// Says why the file cannot be read; true when it can.
bool checkReadable(const std::string& path, DumpCheck& dump) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    std::string problem;
    if (!fs::exists(status)) {
        problem = " does not exist.";
    } else if (!fs::is_regular_file(status)) {
        problem = " is no regular file, which no frames can be read from.";
    } else if (access(path.c_str(), R_OK) != 0) {
        problem = std::string(" cannot be read: ") + strerror(errno) + ".";
    } else {
        return true;
    }
    dump.problems.push_back((dump.job.separate ? "The part file " : "") + path + problem);
    return false;
}

int64_t sizeOf(const std::string& path) {
    std::error_code error;
    return static_cast<int64_t>(fs::file_size(path, error));
}

void reportCompression(DumpCheck& dump) {
    dump.problems.emplace_back(
        "The headers are not all zero, so the blocks are compressed: convert the dump on the "
        "device, where alone they can be read.");
}

void checkParts(DumpCheck& dump) {
    const FileJob& job = dump.job;
    const auto parts = Color::getSeparateSize(job.alignedWidth, job.alignedHeight, job.inputFormat);
    if (parts.empty()) {
        dump.problems.push_back(std::string(colorFormatInfo(job.inputFormat).name) +
                                " has no part files: set \"Separate\" to false in the rule.");
        return;
    }
    const std::string files[] = {job.yBodyFile, job.yHeaderFile, job.cBodyFile, job.cHeaderFile};
    dump.frames = 1;
    bool compressed = false;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (!checkReadable(files[i], dump)) {
            dump.frames = 0;
            continue;
        }
        const int64_t size = sizeOf(files[i]);
        const int64_t wanted = parts[i].first;
        if (size != wanted) {
            dump.problems.push_back("The part file " + files[i] + " has " + number(size) +
                                    " bytes, " + number(std::abs(size - wanted)) +
                                    (size < wanted ? " fewer" : " more") + " than the part of a " +
                                    number(dump.width) + " x " + number(dump.height) +
                                    " frame: copy the file again, or correct the size.");
            dump.frames = size < wanted ? 0 : *dump.frames;
        }
        compressed = compressed || (i % 2 == 1 && isUsed(files[i], 0, wanted));
    }
    if (compressed) {
        reportCompression(dump);
    }
}

// Says what is wrong with the number of bytes, of which a frame has frameSize.
void checkLength(DumpCheck& dump, int64_t size, int64_t frameSize) {
    dump.frames = size / frameSize;
    const int64_t left = size % frameSize;
    dump.needsCandidates = left != 0;
    if (size > 0 && size < frameSize) {
        dump.problems.push_back("The file holds " + number(size * 100 / frameSize) +
                                " % of a frame of " + number(frameSize) +
                                " bytes: the rest would be filled with zeros.");
    } else if (left != 0) {
        dump.problems.push_back(
            number(left) + " bytes are left over after the last whole frame of " +
            number(frameSize) +
            " bytes: the last frame is cut off, or the size or format is wrong.");
    }
}

void checkFile(DumpCheck& dump, int frameSize) {
    const int64_t size = sizeOf(dump.path);
    checkLength(dump, size, frameSize);
    const FrameGeometry frame(dump.job.inputFormat, dump.job.alignedWidth, dump.job.alignedHeight);
    if (frame.isCompressed(dump.path)) {
        reportCompression(dump);
    }
}

// Lists what VexConverter would write.
void listOutputs(DumpCheck& dump, const std::string& folder, int frameSize) {
    const auto add = [&](bool png, int64_t frame) {
        dump.outputs.push_back(fs::path(getOutputPath(dump.path, dump.job.outputFormat, folder, png,
                                                      static_cast<int>(frame)))
                                   .filename());
    };
    add(false, 0);
    const FileJob& job = dump.job;
    if (Color::getFrameSize(job.alignedWidth, job.alignedHeight, Color::RGBA8888) < 0) {
        return;
    }
    const int64_t last = job.separate || !holdsSeveralFrames(sizeOf(dump.path), frameSize)
                             ? 0
                             : dump.frames.value_or(0);
    if (last == 0) {
        add(true, 0);
    }
    for (int64_t frame = 1; frame <= last; ++frame) {
        if (last <= DumpCheck::MAX_PICTURES || frame == 1 || frame == last) {
            add(true, frame);
        }
    }
}

// Says what is wrong with a file of whole frames whatever its format is; true when it can be read.
bool checkWholeFile(DumpCheck& dump) {
    if (!checkReadable(dump.path, dump)) {
        dump.needsCandidates = false;
        return false;
    }
    const int64_t size = sizeOf(dump.path);
    if (size > INT_MAX) {
        dump.problems.emplace_back(
            "The file has 2 GiB or more: split it at a multiple of the frame's size.");
    } else if (size == 0) {
        dump.problems.emplace_back("The file is empty: dump it again.");
        dump.needsCandidates = false;
    }
    return true;
}

void check(DumpCheck& dump, const std::string& outputFolder) {
    const FileJob& job = dump.job;
    const bool readable = job.separate || checkWholeFile(dump);
    if (job.inputFormat == Color::UNKNOWN) {
        return;
    }
    checkBoard(dump);
    const int frameSize = Color::getFrameSize(job.alignedWidth, job.alignedHeight, job.inputFormat);
    if (dump.width < 1 || dump.height < 1 || job.alignedWidth < 1 || job.alignedHeight < 1 ||
        frameSize < 1 ||
        Color::getFrameSize(job.alignedWidth, job.alignedHeight, job.outputFormat) < 1) {
        dump.problems.push_back("The size " + number(dump.width) + " x " + number(dump.height) +
                                " is out of range, 1 x 1 to frames of 2 GiB: correct it.");
        return;
    }
    if (job.separate) {
        checkParts(dump);
    } else if (readable) {
        checkFile(dump, frameSize);
    }
    listOutputs(dump, outputFolder, frameSize);
}

// Says which raw outputs are there already, or are written for two dumps.
void checkOutputs(std::vector<DumpCheck>& dumps, const std::string& outputFolder) {
    std::map<std::string, std::vector<const DumpCheck*>> writers;
    for (const DumpCheck& dump : dumps) {
        if (!dump.outputs.empty()) {
            writers[dump.outputs.front()].push_back(&dump);
        }
    }
    for (DumpCheck& dump : dumps) {
        if (dump.outputs.empty()) {
            continue;
        }
        const std::string& output = dump.outputs.front();
        if (FileUtils::isFile(outputFolder + "/" + output)) {
            dump.problems.push_back("The output " + output +
                                    " exists already, and raw frames would be appended to it: "
                                    "remove it, or give another folder with -o.");
        }
        const auto& sources = writers[output];
        if (sources.size() > 1) {
            const DumpCheck* other = sources[&dump == sources[0] ? 1 : 0];
            dump.problems.push_back("The output " + output + " would be written for " +
                                    other->path + " too: give each an output folder of its own.");
        }
    }
}

}  // namespace

std::vector<DumpCheck> checkDumps(const std::vector<std::string>& paths,
                                  const std::string& outputFolder,
                                  const CommandLineOptions& options) {
    std::vector<DumpCheck> dumps;
    SeparateFiles partFiles;
    for (const std::string& path : paths) {
        DumpCheck dump = decode(path, options);
        const FileJob& job = dump.job;
        if (job.separate) {
            if (partFiles.count(path) > 0) {
                continue;
            }
            partFiles.insert({job.yBodyFile, job.yHeaderFile, job.cBodyFile, job.cHeaderFile});
        }
        check(dump, outputFolder);
        dumps.push_back(std::move(dump));
    }
    checkOutputs(dumps, outputFolder);
    return dumps;
}
