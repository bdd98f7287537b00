#include "DumpCheck.h"

#include <cutils/properties.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <map>
#include <regex>
#include <tuple>

#include "DumpFile.h"
#include "FrameGeometry.h"
#include "color/Catalogue.h"
#include "config/FormatConfig.h"
#include "driver/FileConversion.h"
#include "fileutils/FileUtils.h"

namespace {

namespace fs = std::filesystem;
using Color = ColorConvert;

const char* nameOf(Color::ColorFormat format) { return colorFormatInfo(format).name; }

// Adds a note if the name has a code that the rule doesn't know, so that the rule's default is
// used.
void noteUnknownCode(const FormatConfig& match, DumpCheck& dump) {
    constexpr size_t MAX_PATH = 255;  // bytes; a search for the pattern needs stack for each
    const auto group = static_cast<size_t>(std::max(0, match.colorFormatIndex));
    std::smatch found;
    if (match.formatPairs.empty() || group == 0 || dump.path.size() > MAX_PATH ||
        !std::regex_search(dump.path, found, std::regex(match.pattern)) || group >= found.size()) {
        return;
    }
    for (const FormatConfig::FormatPair& pair : match.formatPairs) {
        if (pair.formatStr == found.str(group)) {
            return;
        }
    }
    dump.notes.push_back(concat("The rule ", match.name, " does not know the code ",
                                found.str(group), " (codes are case-sensitive), so its default, ",
                                match.colorFormat, ", is used."));
}

void decodeByOptions(const CommandLineOptions& options, DumpCheck& dump) {
    FileJob& job = dump.job;
    dump.size = {options.width, options.height};
    job.inputFormat = options.inputFormat;
    job.outputFormat = Color::getDefaultOutputFormat(job.inputFormat);
    std::tie(job.alignedWidth, job.alignedHeight) =
        Color::getDefaultAlignedSize(options.width, options.height, job.inputFormat);
    if (Color::isSeparate(job.inputFormat)) {
        dump.add(Verdict::NOTHING, "Options can't convert ", nameOf(job.inputFormat),
                 ": leave out -w, -h and -f, and give a rule that decodes the name.");
    }
}

void decodeByRules(DumpCheck& dump) {
    const std::optional<FormatConfig> match = findMatch(dump.path);
    dump.isUnknown = !match;
    if (!match) {
        dump.add(Verdict::NOTHING,
                 "No rule decodes the name: give -w, -h and -f, or rules with -c.");
        return;
    }
    FileJob& job = dump.job;
    dump.rule = match->name;
    dump.size = {match->width, match->height};
    if (!getFileJobFromMatch(*match, false, job)) {
        job.alignedWidth = 0;
    }
    if (!dump.hasReading()) {
        dump.isUnknown = true;
        dump.add(Verdict::NOTHING, "The rule ", match->name, " names a color format that does not ",
                 "exist, ", match->colorFormat, ": correct the rule.");
    } else if (match->colorFormat == match->defaultColorFormat) {
        noteUnknownCode(*match, dump);
    }
}

// Fills in what the options say of every file, or what the rules say of this one.
void decode(const CommandLineOptions& options, DumpCheck& dump) {
    if (isConfigurationMode(options)) {
        decodeByRules(dump);
    } else if (options.width > 0 && options.height > 0 && options.inputFormat != Color::UNKNOWN) {
        decodeByOptions(options, dump);
    } else {
        dump.isUnknown = true;
        dump.add(Verdict::NOTHING,
                 "VexConverter needs all of -w, -h and -f, or none of them and a ",
                 "rule that decodes the name.");
    }
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
        readers += concat(readers.empty() ? "" : ", ", *name);
    }
    const bool isSet = *board != '\0';
    dump.add(Verdict::NOTHING,
             isSet ? concat("The board ", board, " does not read ")
                   : "No board is set (VEX_HOST_BOARD_PLATFORM), and ",
             info.name, isSet ? "" : " needs one",
             info.support.kind == PlatformSupport::ONLY_ON ? ": use one of " : ": use any but ",
             readers, ".");
}

// Says why the file, or some of it, can't be read, if that is so. Returns true if it can.
bool checkReadable(const DumpFile& file, const std::string& name, Verdict verdict,
                   DumpCheck& dump) {
    const bool canBeRead = file.failure().empty();
    if (!canBeRead) {
        dump.add(verdict, name, " can't be read: ", file.failure(), ".");
    }
    return canBeRead;
}

void reportCompression(DumpCheck& dump) {
    dump.add(Verdict::WRONG,
             "The headers are not all zero, so the blocks are most likely compressed: convert ",
             "the dump on the device, because a PC can't read them.");
}

// Says how the size of a part file differs from that of the part, in bytes.
void checkPartSize(const DumpFile& file, const std::string& path, int partSize, DumpCheck& dump) {
    const int64_t more = file.size() - partSize;
    if (more != 0) {
        dump.add(Verdict::WRONG, "The part file ", path, " has ", file.size(), " bytes, ",
                 std::abs(more), more < 0 ? " fewer" : " more", " than the part of a ", dump.size,
                 " frame: copy the file again, or correct the size.");
        dump.frames = more < 0 ? 0 : *dump.frames;
    }
}

void checkParts(DumpCheck& dump) {
    const FileJob& job = dump.job;
    const auto parts = Color::getSeparateSize(job.alignedWidth, job.alignedHeight, job.inputFormat);
    if (parts.empty()) {
        dump.add(Verdict::NOTHING, nameOf(job.inputFormat),
                 " has no part files: set \"Separate\" to false in the rule.");
        return;
    }
    const std::string files[] = {job.yBodyFile, job.yHeaderFile, job.cBodyFile, job.cHeaderFile};
    dump.frames = 1;
    bool compressed = false;
    for (size_t i = 0; i < parts.size(); ++i) {
        DumpFile file(files[i]);
        if (file.canReadEnds()) {
            checkPartSize(file, files[i], parts[i].first, dump);
            compressed = (i % 2 == 1 && file.isUsed(0, parts[i].first)) || compressed;
        } else {
            dump.frames = 0;
        }
        checkReadable(file, "The part file " + files[i], Verdict::WRONG, dump);
    }
    if (compressed) {
        reportCompression(dump);
    }
}

// Says what is wrong with the file's size, if a frame has frameSize bytes.
void checkLength(DumpCheck& dump, int64_t frameSize) {
    dump.frames = dump.fileSize / frameSize;
    const int64_t left = dump.fileSize % frameSize;
    dump.isUnknown = left != 0;
    if (dump.fileSize > 0 && dump.fileSize < frameSize) {
        dump.add(Verdict::WRONG, "The file holds ", dump.fileSize * 100 / frameSize,
                 " % of a frame of ", frameSize, " bytes: the rest of the frame would be zeros.");
    } else if (left != 0) {
        dump.add(Verdict::PARTLY, left, " bytes are left over after the last whole frame of ",
                 frameSize, " bytes: the last frame is cut off, or the size or format is wrong.");
    }
}

// Returns the number of the last picture, or 0 if there is one picture, without a number.
int64_t lastPictureOf(const DumpCheck& dump) {
    return dump.job.separate || !holdsSeveralFrames(dump.fileSize, dump.reading().frameSize)
               ? 0
               : dump.frames.value_or(0);
}

std::string outputPath(const DumpCheck& dump, const std::string& folder, bool png, int64_t frame) {
    return getOutputPath(dump.path, dump.job.outputFormat, folder, png, static_cast<int>(frame));
}

// Lists what VexConverter would write.
void listOutputs(DumpCheck& dump) {
    const auto add = [&](bool png, int64_t frame) {
        dump.outputs.push_back(outputPath(dump, "", png, frame).substr(1));
    };
    add(false, 0);
    const FileJob& job = dump.job;
    if (Color::getFrameSize(job.alignedWidth, job.alignedHeight, Color::RGBA8888) < 0) {
        return;
    }
    const int64_t last = lastPictureOf(dump);
    for (int64_t frame = std::min<int64_t>(last, 1); frame <= last; ++frame) {
        add(true, frame);
        if (last > DumpCheck::MAX_PICTURES && frame == 1) {
            frame = last - 1;
        }
    }
}

// Says what is wrong with a file of whole frames, whatever their format is.
void checkWholeFile(DumpFile& file, DumpCheck& dump) {
    dump.fileSize = file.size();
    dump.canBeRead = file.canReadEnds() && file.size() > 0;
    if (file.size() > INT_MAX) {
        dump.add(Verdict::NOTHING,
                 "The file has 2 GiB or more: split it at a multiple of the frame's size.");
    } else if (file.size() == 0 && file.failure().empty()) {
        dump.add(Verdict::WRONG, "The file is empty: dump it again.");
    }
}

// Checks the frames of the reading that the name or the options give.
void checkFrames(DumpFile& file, DumpCheck& dump) {
    const FileJob& job = dump.job;
    const auto bytesIn = [&](Color::ColorFormat format) {
        return Color::getFrameSize(job.alignedWidth, job.alignedHeight, format);
    };
    checkBoard(dump);
    if (dump.size.width < 1 || dump.size.height < 1 || job.alignedWidth < 1 ||
        job.alignedHeight < 1 || bytesIn(job.inputFormat) < 1 || bytesIn(job.outputFormat) < 1) {
        dump.add(Verdict::NOTHING, "The size ", dump.size,
                 " is out of range, 1 x 1 to frames of 2 GiB: correct it.");
        return;
    }
    const FrameGeometry frame(job.inputFormat, job.alignedWidth, job.alignedHeight);
    if (!frame.isWholeBlocks()) {
        dump.add(Verdict::NOTHING, "The aligned size is no whole number of blocks: correct the ",
                 "alignments in the rule.");
    }
    if (job.separate) {
        checkParts(dump);
    } else {
        checkLength(dump, frame.size);
        if (frame.isCompressed(file)) {
            reportCompression(dump);
        }
    }
    if (dump.fileSize <= INT_MAX) {
        listOutputs(dump);
    }
}

void check(DumpCheck& dump, const CommandLineOptions& options) {
    DumpFile file(dump.path);
    if (file.failure().empty()) {
        decode(options, dump);
        if (!dump.job.separate) {
            checkWholeFile(file, dump);
        }
        if (dump.hasReading()) {
            checkFrames(file, dump);
        }
    }
    // VexConverter skips a path that is no file, and writes zeros for a file that it can't read.
    const bool isSkipped = !FileUtils::isFile(dump.path);
    checkReadable(file, dump.path, isSkipped ? Verdict::NOTHING : Verdict::WRONG, dump);
}

// Says why an output can't be written, or that it exists already.
void checkOutput(const std::string& folder, const std::string& output, bool isRaw,
                 DumpCheck& dump) {
    const std::string path = folder + "/" + output;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) {
        return;
    }
    const bool isFile = fs::is_regular_file(status);
    if (error || !isFile || access(path.c_str(), W_OK) != 0) {
        dump.add(Verdict::NOTHING, "The output ", output, " can't be written: ",
                 error    ? error.message()
                 : isFile ? strerror(errno)
                          : "something else has its name",
                 ".");
    } else if (isRaw) {
        dump.add(Verdict::APPENDS, "The output ", output, " exists already, and VexConverter ",
                 "appends raw frames: remove it, or give another folder with -o.");
    }
}

// Writers has the dumps that have an output of each name.
using Writers = std::map<std::string, std::vector<const DumpCheck*>>;

// Says that another dump has one of the dump's outputs too.
void checkSharing(const Writers& writers, DumpCheck& dump) {
    for (const std::string& output : dump.outputs) {
        const auto& sharers = writers.at(output);
        if (sharers.size() > 1) {
            dump.add(Verdict::APPENDS, "The output ", output, " would be written for ",
                     sharers[&dump == sharers[0] ? 1 : 0]->path,
                     " too: give each an output folder of its own.");
            return;
        }
    }
}

// Says which outputs can't be written, are there already, or are written for two dumps.
void checkOutputs(std::vector<DumpCheck>& dumps, const std::string& folder) {
    Writers writers;
    for (const DumpCheck& dump : dumps) {
        for (const std::string& output : dump.outputs) {
            writers[output].push_back(&dump);
        }
    }
    const bool canWrite = access(folder.c_str(), W_OK | X_OK) == 0;
    const std::string reason = canWrite ? "" : strerror(errno);
    for (DumpCheck& dump : dumps) {
        if (dump.outputs.empty()) {
            continue;
        }
        if (!canWrite) {
            dump.add(Verdict::NOTHING, "The folder ", folder, " can't be written: ", reason, ".");
            continue;
        }
        // The last picture has the longest name.
        checkOutput(folder, dump.outputs.front(), true, dump);
        if (dump.verdict != Verdict::NOTHING) {
            checkOutput(folder, dump.outputs.back(), dump.outputs.size() == 1, dump);
        }
        checkSharing(writers, dump);
    }
}

// Says that the picture can't be read, or that it doesn't end with the last chunk of a picture.
void checkPicture(const std::string& path, DumpCheck& dump) {
    constexpr int SIZE = 12;
    constexpr std::array<unsigned char, SIZE> LAST_CHUNK = {0,   0,   0,    0,   'I',  'E',
                                                            'N', 'D', 0xAE, 'B', 0x60, 0x82};
    DumpFile file(path);
    std::array<unsigned char, SIZE> end = {};
    const bool isWhole =
        file.size() > SIZE && file.read(file.size() - SIZE, SIZE, end.data()) && end == LAST_CHUNK;
    if (checkReadable(file, "The picture " + path, Verdict::WRONG, dump) && !isWhole) {
        dump.add(Verdict::WRONG, "The picture ", path, " is not whole.");
    }
}

// Says which pictures of the dump are missing or not whole. Returns true if there are some.
bool checkWrittenPictures(DumpCheck& dump, const std::string& folder) {
    const int64_t last = lastPictureOf(dump);
    int64_t pictures = 0;
    int64_t missing = 0;
    for (int64_t frame = std::min<int64_t>(last, 1);
         frame <= last && missing <= DumpCheck::MAX_PICTURES; ++frame) {
        const std::string picture = outputPath(dump, folder, true, frame);
        if (FileUtils::isFile(picture)) {
            ++pictures;
            checkPicture(picture, dump);
        } else {
            ++missing;
        }
    }
    if (pictures > 0 && missing > 0) {
        dump.add(Verdict::PARTLY, missing > DumpCheck::MAX_PICTURES ? "More than " : "",
                 std::min(missing, DumpCheck::MAX_PICTURES), " of ", std::max<int64_t>(last, 1),
                 " pictures are missing: the messages and the log of the run say why.");
    }
    return pictures > 0;
}

}  // namespace

Reading DumpCheck::reading() const {
    Reading reading =
        makeReading(fileSize, job.inputFormat, size, {job.alignedWidth, job.alignedHeight});
    reading.named = true;
    return reading;
}

std::vector<DumpCheck> checkDumps(const std::vector<std::string>& paths,
                                  const std::string& outputFolder,
                                  const CommandLineOptions& options) {
    std::vector<DumpCheck> dumps;
    SeparateFiles partFiles;
    for (const std::string& path : paths) {
        DumpCheck dump;
        dump.path = path;
        if (partFiles.count(path) > 0) {
            continue;
        }
        check(dump, options);
        const FileJob& job = dump.job;
        if (job.separate) {
            partFiles.insert({job.yBodyFile, job.yHeaderFile, job.cBodyFile, job.cHeaderFile});
        }
        dumps.push_back(std::move(dump));
    }
    checkOutputs(dumps, outputFolder);
    return dumps;
}

std::vector<FrameSize> namedSizesOf(const DumpCheck& dump) {
    static const std::regex PAIR("([0-9]{2,5})[xX]([0-9]{2,5})|[wW]([0-9]{2,5})_?[hH]([0-9]{2,5})");
    std::vector<FrameSize> sizes = {dump.size};
    const std::string name = fs::path(dump.path).filename();
    for (std::sregex_iterator pair(name.begin(), name.end(), PAIR), end; pair != end; ++pair) {
        const size_t group = (*pair)[1].matched ? 1 : 3;
        sizes.push_back({std::stoi(pair->str(group)), std::stoi(pair->str(group + 1))});
    }
    return sizes;
}

void checkWrittenOutputs(DumpCheck& dump, const std::string& folder) {
    if (dump.outputs.empty()) {
        return;  // a problem says why VexConverter writes nothing
    }
    dump.problems.clear();
    dump.verdict = Verdict::CONVERTS;
    const FileJob& job = dump.job;
    const int64_t frames = std::max<int64_t>(lastPictureOf(dump), 1);
    const bool hasPictures = checkWrittenPictures(dump, folder);
    const std::string raw = outputPath(dump, folder, false, 0);
    const int64_t wanted =
        frames * Color::getFrameSize(job.alignedWidth, job.alignedHeight, job.outputFormat);
    if (FileUtils::isFile(raw)) {
        const DumpFile file(raw);
        if (checkReadable(file, "The output " + raw, Verdict::WRONG, dump) &&
            file.size() != wanted) {
            dump.add(Verdict::WRONG, "The output ", raw, " has ", file.size(), " bytes instead of ",
                     wanted, ".");
        }
    } else if (!hasPictures) {
        dump.add(Verdict::NOTHING, "Neither ", raw,
                 " nor a picture is there: the messages and the log of the run say why.");
    }
}
