#include "DumpCheck.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <map>
#include <regex>

#include "DumpFile.h"
#include "FrameGeometry.h"
#include "Settings.h"
#include "color/Catalogue.h"
#include "config/FormatConfig.h"
#include "driver/FileConversion.h"
#include "driver/FileJob.h"
#include "fileutils/FileUtils.h"

namespace {

using Color = ColorConvert;

constexpr int64_t MAX_PICTURES = 10000;  // whose names are listed, or that are missed

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

void decodeByRules(DumpCheck& dump) {
    const std::optional<FormatConfig> match = findMatch(dump.path);
    if (!match) {
        dump.add(Verdict::NOTHING,
                 "No rule decodes the name: give -w, -h and -f, or rules with -c.");
        return;
    }
    FileJob job;
    if (!getFileJobFromMatch(*match, false, job)) {
        job.alignedWidth = 0;
    }
    if (job.separate) {
        dump.partFiles = {job.yBodyFile, job.yHeaderFile, job.cBodyFile, job.cHeaderFile};
        dump.fileSize = 0;
    }
    dump.rule = match->name;
    dump.reading = makeReading(dump.fileSize, job.inputFormat, {match->width, match->height},
                               {job.alignedWidth, job.alignedHeight});
    if (!dump.hasReading()) {
        dump.add(Verdict::NOTHING, "The rule ", match->name, " names a color format that does not ",
                 "exist, ", match->colorFormat, ": correct the rule.");
    } else if (match->colorFormat == match->defaultColorFormat) {
        noteUnknownCode(*match, dump);
    }
}

// Fills in what the options say of every file, or what the rules say of this one.
void decode(const CommandLineOptions& options, DumpCheck& dump) {
    const Color::ColorFormat format = options.inputFormat;
    if (isConfigurationMode(options)) {
        decodeByRules(dump);
    } else if (options.width < 1 || options.height < 1 || format == Color::UNKNOWN) {
        dump.add(Verdict::NOTHING,
                 "VexConverter needs all of -w, -h and -f, or none of them and a ",
                 "rule that decodes the name.");
    } else {
        const auto [width, height] =
            Color::getDefaultAlignedSize(options.width, options.height, format);
        dump.reading =
            makeReading(dump.fileSize, format, {options.width, options.height}, {width, height});
        if (Color::isSeparate(format)) {
            dump.add(Verdict::NOTHING, "Options can't convert ", colorFormatInfo(format).name,
                     ": leave out -w, -h and -f, and give a rule that decodes the name.");
        }
    }
    dump.reading.named = true;
}

// Says which boards read a format that this one does not.
void checkBoard(DumpCheck& dump) {
    if (Color::checkPlatformSupport(dump.reading.format)) {
        return;
    }
    const char* board = host::boardPlatform();
    const ColorFormatInfo& info = colorFormatInfo(dump.reading.format);
    std::string readers;
    for (const char* const* name = info.support.boards; *name != nullptr; ++name) {
        readers += concat(readers.empty() ? "" : ", ", *name);
    }
    const bool isSet = board != nullptr && *board != '\0';
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

// Says what is wrong with the part files of a set. Returns true if its headers are not all zero.
bool checkParts(DumpCheck& dump) {
    const Reading& reading = dump.reading;
    const auto parts =
        Color::getSeparateSize(reading.aligned.width, reading.aligned.height, reading.format);
    if (parts.empty()) {
        dump.add(Verdict::NOTHING, colorFormatInfo(reading.format).name,
                 " has no part files: set \"Separate\" to false in the rule.");
        return false;
    }
    dump.frames = 1;
    bool isCompressed = false;
    for (size_t i = 0; i < parts.size(); ++i) {
        const std::string& path = dump.partFiles[i];
        const int size = parts[i].first;
        DumpFile file(path);
        const bool canBeRead = file.canReadEnds();
        const int64_t more = file.size() - size;
        if (canBeRead && more != 0) {
            dump.add(Verdict::WRONG, "The part file ", path, " has ", file.size(), " bytes, ",
                     std::abs(more), more < 0 ? " fewer" : " more", " than the part of a ",
                     reading.size, " frame: copy the file again, or correct the size.");
        }
        if (!canBeRead || more < 0) {
            dump.frames = 0;
        }
        isCompressed = (i % 2 == 1 && file.isUsed(0, size)) || isCompressed;
        checkReadable(file, "The part file " + path, Verdict::WRONG, dump);
    }
    return isCompressed;
}

// Says what is wrong with the length of a file of whole frames.
void checkLength(DumpCheck& dump) {
    const int64_t frameSize = dump.reading.frameSize;
    dump.frames = dump.reading.frames;
    if (dump.reading.cutOff && dump.frames == 0) {
        dump.add(Verdict::WRONG, "The file holds ", dump.fileSize * 100 / frameSize,
                 " % of a frame of ", frameSize, " bytes: the rest of the frame would be zeros.");
    } else if (dump.reading.cutOff) {
        dump.add(Verdict::PARTLY, dump.fileSize % frameSize,
                 " bytes are left over after the last whole frame of ", frameSize,
                 " bytes: the last frame is cut off, or the size or format is wrong.");
    }
}

// Returns how many frames VexConverter writes. It writes at least one: zeros replace what the file
// lacks.
int64_t framesWritten(const DumpCheck& dump) { return std::max<int64_t>(1, dump.reading.frames); }

Color::ColorFormat outputFormatOf(const DumpCheck& dump) {
    return Color::getDefaultOutputFormat(dump.reading.format);
}

// Returns the bytes of a frame of the dump in another format, or a negative number if it is too
// large.
int frameSizeIn(Color::ColorFormat format, const DumpCheck& dump) {
    return Color::getFrameSize(dump.reading.aligned.width, dump.reading.aligned.height, format);
}

std::string picturePath(const DumpCheck& dump, const std::string& folder, int64_t frame) {
    const bool isNumbered = holdsSeveralFrames(dump.fileSize, dump.reading.frameSize);
    return getOutputPath(dump.path, Color::RGBA8888, folder, true,
                         isNumbered ? static_cast<int>(frame) : 0);
}

// Lists what VexConverter would write.
void listOutputs(DumpCheck& dump) {
    dump.outputs = {getOutputPath(dump.path, outputFormatOf(dump), "", false, 0).substr(1)};
    if (frameSizeIn(Color::RGBA8888, dump) < 0) {
        return;
    }
    const int64_t frames = framesWritten(dump);
    const int64_t step = frames > MAX_PICTURES ? frames - 1 : 1;
    for (int64_t frame = 1; frame <= frames; frame += step) {
        dump.outputs.push_back(picturePath(dump, "", frame).substr(1));
    }
}

// Says what is wrong with a file of whole frames, whatever their format is.
void checkWholeFile(DumpFile& file, DumpCheck& dump) {
    dump.canBeRead = file.canReadEnds() && dump.fileSize > 0;
    if (dump.fileSize > INT_MAX) {
        dump.add(Verdict::NOTHING,
                 "The file has 2 GiB or more: split it at a multiple of the frame's size.");
    } else if (dump.fileSize == 0 && file.failure().empty()) {
        dump.add(Verdict::WRONG, "The file is empty: dump it again.");
    }
}

// Checks the frames of the reading that the name or the options give.
void checkFrames(DumpFile& file, DumpCheck& dump) {
    const Reading& reading = dump.reading;
    checkBoard(dump);
    if (reading.frameSize < 1 || frameSizeIn(outputFormatOf(dump), dump) < 1) {
        dump.add(Verdict::NOTHING, "The size ", reading.size,
                 " is out of range, 1 x 1 to frames of 2 GiB: correct it.");
        return;
    }
    const FrameGeometry frame(reading.format, reading.aligned.width, reading.aligned.height);
    if (!frame.isWholeBlocks()) {
        dump.add(Verdict::NOTHING, "The aligned size is no whole number of blocks: correct the ",
                 "alignments in the rule.");
    }
    bool isCompressed = false;
    if (dump.isSet()) {
        isCompressed = checkParts(dump);
    } else {
        checkLength(dump);
        isCompressed = frame.isCompressed(file);
    }
    if (isCompressed) {
        dump.add(Verdict::WRONG,
                 "The headers are not all zero, so the blocks are most likely compressed: convert ",
                 "the dump on the device, because a PC can't read them.");
    }
    if (dump.fileSize <= INT_MAX) {
        listOutputs(dump);
    }
}

void check(DumpCheck& dump, const CommandLineOptions& options) {
    DumpFile file(dump.path);
    dump.fileSize = file.size();
    if (file.failure().empty()) {
        decode(options, dump);
        if (!dump.isSet()) {
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
void checkOutput(const std::string& output, bool isRaw, DumpCheck& dump) {
    const std::string path = dump.outputFolder + "/" + output;
    const bool isFile = FileUtils::isFile(path);
    const bool isOther = !isFile && access(path.c_str(), F_OK) == 0;
    if (isOther || (access(path.c_str(), W_OK) != 0 && errno != ENOENT)) {
        dump.add(Verdict::NOTHING, "The output ", output,
                 " can't be written: ", isOther ? "something else has its name" : strerror(errno),
                 ".");
    } else if (isFile && isRaw) {
        dump.add(Verdict::APPENDS, "The output ", output, " exists already, and VexConverter ",
                 "appends raw frames: remove it, or give another folder with -o.");
    }
}

// Writers has the paths of the dumps that have an output of each name.
using Writers = std::map<std::string, std::vector<std::string>>;

// Says which outputs can't be written, are there already, or are written for another dump too.
void checkOutputs(const Writers& writers, DumpCheck& dump) {
    if (access(dump.outputFolder.c_str(), W_OK | X_OK) != 0) {
        dump.add(Verdict::NOTHING, "The folder ", dump.outputFolder,
                 " can't be written: ", strerror(errno), ".");
        return;
    }
    // The last picture has the longest name.
    checkOutput(dump.outputs.front(), true, dump);
    if (dump.verdict != Verdict::NOTHING) {
        checkOutput(dump.outputs.back(), false, dump);
    }
    for (const std::string& output : dump.outputs) {
        const auto& sharers = writers.at(output);
        if (sharers.size() > 1) {
            dump.add(Verdict::APPENDS, "The output ", output, " would be written for ",
                     sharers[dump.path == sharers[0] ? 1 : 0],
                     " too: give each an output folder of its own.");
            return;
        }
    }
}

// Says that the picture can't be read, or that it doesn't end with the last chunk of a picture.
void checkPicture(const std::string& path, DumpCheck& dump) {
    constexpr std::array<unsigned char, 12> LAST_CHUNK = {0,   0,   0,    0,   'I',  'E',
                                                          'N', 'D', 0xAE, 'B', 0x60, 0x82};
    DumpFile file(path);
    std::array<unsigned char, LAST_CHUNK.size()> end = {};
    const int64_t start = file.size() - static_cast<int64_t>(end.size());
    const bool isWhole = start > 0 && file.read(start, end.size(), end.data()) && end == LAST_CHUNK;
    if (checkReadable(file, "The picture " + path, Verdict::WRONG, dump) && !isWhole) {
        dump.add(Verdict::WRONG, "The picture ", path, " is not whole.");
    }
}

// Says which pictures of the dump are missing or not whole. Returns true if there are some.
bool checkWrittenPictures(DumpCheck& dump, const std::string& folder) {
    const int64_t frames = framesWritten(dump);
    bool hasPictures = false;
    int64_t missing = 0;
    for (int64_t frame = 1; frame <= frames && missing <= MAX_PICTURES; ++frame) {
        const std::string picture = picturePath(dump, folder, frame);
        if (FileUtils::isFile(picture)) {
            hasPictures = true;
            checkPicture(picture, dump);
        } else {
            ++missing;
        }
    }
    if (hasPictures && missing > 0) {
        dump.add(Verdict::PARTLY, missing > MAX_PICTURES ? "More than " : "",
                 std::min(missing, MAX_PICTURES), " of ", frames,
                 " pictures are missing: the messages and the log of the run say why.");
    }
    return hasPictures;
}

}  // namespace

std::vector<DumpCheck> checkDumps(const std::vector<std::string>& paths,
                                  const CommandLineOptions& options) {
    std::vector<DumpCheck> dumps;
    SeparateFiles partFiles;
    Writers writers;
    std::string place = options.outputPath;
    for (const std::string& path : paths) {
        if (place.empty() && FileUtils::isFile(path)) {
            place = path;  // whose folder takes the outputs of all dumps
        }
        if (partFiles.count(path) == 0) {
            DumpCheck& dump = dumps.emplace_back();
            dump.path = path;
            dump.outputFolder = FileUtils::getFolderPath(place);
            check(dump, options);
            partFiles.insert(dump.partFiles.begin(), dump.partFiles.end());
            for (const std::string& output : dump.outputs) {
                writers[output].push_back(path);
            }
        }
    }
    for (DumpCheck& dump : dumps) {
        if (!dump.outputs.empty()) {
            checkOutputs(writers, dump);
        }
    }
    return dumps;
}

std::vector<FrameSize> namedSizesOf(const DumpCheck& dump) {
    static const std::regex PAIR("([0-9]{2,5})[xX]([0-9]{2,5})|[wW]([0-9]{2,5})_?[hH]([0-9]{2,5})");
    std::vector<FrameSize> sizes = {dump.reading.size};
    const std::string name = std::filesystem::path(dump.path).filename();
    for (std::sregex_iterator pair(name.begin(), name.end(), PAIR), end; pair != end; ++pair) {
        const size_t group = (*pair)[1].matched ? 1 : 3;
        sizes.push_back({std::stoi(pair->str(group)), std::stoi(pair->str(group + 1))});
    }
    return sizes;
}

void checkWrittenOutputs(DumpCheck& dump, const std::string& folder) {
    dump.isAfterRun = true;
    if (dump.outputs.empty()) {
        return;  // a problem says why VexConverter writes nothing
    }
    dump.problems.clear();
    dump.verdict = Verdict::CONVERTS;
    const bool hasPictures = checkWrittenPictures(dump, folder);
    const std::string raw = folder + "/" + dump.outputs.front();
    const int64_t wanted = framesWritten(dump) * frameSizeIn(outputFormatOf(dump), dump);
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
