// probe-dump says what a dump is, what becomes of it when VexConverter converts it and why, and
// what it could be instead.
#include <cjson/cJSON.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <new>
#include <utility>

#include "Companion.h"
#include "DumpCheck.h"
#include "Log.h"
#include "Pictures.h"
#include "Report.h"
#include "Text.h"
#include "driver/OutOfMemory.h"
#include "fileutils/FileUtils.h"

namespace {

constexpr const char* USAGE =
    "Usage: probe-dump [-c RULES] [-w WIDTH] [-h HEIGHT] [-f FORMAT] [-o FOLDER]\n"
    "                  [--json] [--pictures FOLDER [--colorspace SPACE]]\n"
    "                  [--outputs FOLDER] FILE|FOLDER...\n"
    "Says what each dump is, what VexConverter makes of it, and what else it may be.\n"
    "  -c, --config-file RULES  rules that decode names, instead of the built-in ones\n"
    "  -w, --width WIDTH        width of the frames in pixels\n"
    "  -h, --height HEIGHT      height of the frames in lines\n"
    "  -f, --format FORMAT      color format, as VexConverter lists it. -w, -h and -f\n"
    "                           together replace the rules. One or two of them limit\n"
    "                           the candidates\n"
    "  -o, --output FOLDER      output folder that you will give to VexConverter\n"
    "      --json               write a JSON array with an object for each dump\n"
    "      --pictures FOLDER    write the first frame of each candidate as a picture\n"
    "      --colorspace SPACE   color space of YUV for them (default: BT601_LIMIT)\n"
    "      --outputs FOLDER     check whether a run wrote all outputs to this folder\n"
    "      --version            show the version\n"
    "      --help               show this text\n"
    "The status is 0 if every dump converts in full, 1 if some dump does not, and 2\n"
    "if the options are wrong or the answer can't be written.\n";

// The inherited options are those that VexConverter has too.
struct Options : CommandLineOptions {
    std::string pictureFolder;
    std::string writtenFolder;  // whose outputs are checked, if it is not empty
    bool json = false;
};

Options parseOptions(int argc, char* argv[]) {
    Options options;
    startCompanion(
        argc, argv, options,
        {{"config-file", 'c', true, [&](const char* v) { options.configFilePath = v; }},
         {"json", 0, false, [&](const char*) { options.json = true; }},
         {"pictures", 0, true, [&](const char* v) { options.pictureFolder = folderFrom(v); }},
         {"outputs", 0, true, [&](const char* v) { options.writtenFolder = folderFrom(v); }}});
    options.png = !options.pictureFolder.empty();
    if (options.inputPaths.empty()) {
        fail("no file or folder is given");
    }
    const std::string& written = options.writtenFolder;
    if (!written.empty() && access(written.c_str(), R_OK | X_OK) != 0 && errno != ENOENT) {
        fail(concat("the folder ", written, " can't be read: ", strerror(errno)));
    }
    if (FileUtils::parseConfigFile(options.configFilePath) < 0) {
        fail(concat("the rules can't be used, ", host::lastLogEntry()));
    }
    return options;
}

// Returns the dumps of a folder. They are sorted by name only after the check, because the part
// file that VexConverter reaches first names a set's output.
std::vector<DumpCheck> checkFolder(const std::string& path, const CommandLineOptions& options) {
    std::vector<std::string> files;
    const std::string before = host::lastLogEntry();
    FileUtils::getFilePathsInDirectory(path, files);
    const std::string entry = host::lastLogEntry();
    const std::string failure = access(path.c_str(), R_OK | X_OK) != 0 ? strerror(errno)
                                : entry != before                      ? entry
                                                                       : "";
    std::vector<DumpCheck> dumps = checkDumps(files, options);
    if (files.empty() || !failure.empty()) {
        dumps.emplace_back().path = path;
        dumps.back().add(Verdict::NOTHING, "The folder ",
                         failure.empty() ? "has no files" : "can't be listed: ", failure, ".");
    }
    std::sort(dumps.begin(), dumps.end(),
              [](const DumpCheck& a, const DumpCheck& b) { return a.path < b.path; });
    return dumps;
}

// Compares what the name or the options say with the samples. Dumps of one kind come from one
// writer, so it is enough that a few of each kind are right.
Search compareReading(const DumpCheck& dump) {
    constexpr int ENOUGH = 10;
    // This counts for each kind of dump how many in succession were right. The kind is a text of
    // the format, the sizes and the bytes of the file.
    static std::map<std::string, int> rightOfKind;
    const Reading& reading = dump.reading;
    int& right = rightOfKind[concat(reading, " ", reading.aligned, " ", dump.fileSize)];
    if (right == ENOUGH) {
        return {};
    }
    Search search = checkReading(dump.path, reading);
    right = search.doubted || !search.failure.empty() ? 0 : right + 1;
    return search;
}

Search findReadings(const DumpCheck& dump, CommandLineOptions known) {
    if (dump.hasReading()) {
        known.inputFormat = ColorConvert::UNKNOWN;  // it does not fit
    }
    return searchReadings(dump.path, known, namedSizesOf(dump), dump.reading);
}

// Finds what the dump could be, and adds to its problems what the samples tell.
void probe(DumpCheck& dump, const CommandLineOptions& options) {
    Search& search = dump.search;
    if (dump.canBeRead && dump.isUnknown()) {
        search = findReadings(dump, options);
    } else if (dump.canBeRead && dump.reading.frameSize > 0) {
        search = compareReading(dump);
    }
    if (!search.failure.empty()) {
        dump.add(Verdict::WRONG, "The samples can't be looked at: ", search.failure, ".");
    } else if (!search.note.empty()) {
        dump.notes.push_back(search.note);
    }
    const auto& readings = search.readings;
    if (std::any_of(readings.begin(), readings.end(), [&](const Reading& reading) {
            return reading.isTransparent && (reading.named || !dump.hasReading());
        })) {
        dump.notes.emplace_back(
            "Alpha is 0 in all pixels that were read, so viewers may show an empty picture. "
            "The pictures that --pictures writes are opaque.");
    }
    if (search.doubted) {
        dump.add(Verdict::WRONG, "The samples look like ", search.readings[0],
                 ", and not like what ", dump.sayer(), ": ", dump.reading, ".");
    } else if (!dump.isUnknown()) {
        search.readings.clear();
    }
}

// Prints what is to be said of a dump. Returns true if it converts, or after a run if all its
// outputs are whole, and if its pictures were written.
bool report(DumpCheck& dump, const Options& options) {
    static const char* separator = "[";  // comes before the next object of JSON
    bool allWritten = true;
    if (!options.writtenFolder.empty()) {
        checkWrittenOutputs(dump, options.writtenFolder);
    } else {
        probe(dump, options);
        allWritten =
            !options.png || writePictures(dump, options.pictureFolder, options.inputColorSpace);
    }
    if (options.json) {
        fputs(std::exchange(separator, ",\n"), stdout);
    }
    const auto print = options.json ? printJson : printText;
    print(dump, options);
    return allWritten && dump.verdict == Verdict::CONVERTS;
}

}  // namespace

const Companion companion = {"probe-dump", USAGE, 2};

int main(int argc, char* argv[]) {
    exitWhenOutOfMemory();
    // cJSON reports a lack of memory only by leaving something out. With these functions the
    // program ends instead.
    cJSON_Hooks hooks = {operator new, operator delete };
    cJSON_InitHooks(&hooks);
    const Options options = parseOptions(argc, argv);
    std::error_code error;
    std::filesystem::create_directories(options.pictureFolder, error);
    bool allWell = true;
    const std::vector<std::string>& inputs = options.inputPaths;
    for (auto input = inputs.begin(); input != inputs.end();) {
        // VexConverter takes a folder in one run, or several files.
        const bool isFolder = FileUtils::isDirectory(*input);
        const auto end =
            isFolder ? input + 1 : std::find_if(input + 1, inputs.end(), FileUtils::isDirectory);
        for (DumpCheck& dump :
             isFolder ? checkFolder(*input, options) : checkDumps({input, end}, options)) {
            allWell &= report(dump, options);
        }
        input = end;
    }
    if (options.json) {
        puts("]");
    }
    return finish(allWell ? 0 : 1);
}
