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

struct Options {
    CommandLineOptions tool;  // as VexConverter takes them
    std::string pictureFolder;
    std::string writtenFolder;  // whose outputs are checked, if it is not empty
    bool json = false;
};

Options parseOptions(const Companion& program, int argc, char* argv[]) {
    Options options;
    CommandLineOptions& tool = options.tool;
    program.parseOptions(
        argc, argv, tool,
        {{"config-file", 'c', true, [&](const char* v) { tool.configFilePath = v; }},
         {"json", 0, false, [&](const char*) { options.json = true; }},
         {"pictures", 0, true, [&](const char* v) { options.pictureFolder = program.folder(v); }},
         {"outputs", 0, true, [&](const char* v) { options.writtenFolder = program.folder(v); }}});
    if (tool.inputPaths.empty()) {
        program.fail("no file or folder is given");
    }
    const std::string& written = options.writtenFolder;
    if (!written.empty() && access(written.c_str(), R_OK | X_OK) != 0 && errno != ENOENT) {
        program.fail(concat("the folder ", written, " can't be read: ", strerror(errno)));
    }
    if (FileUtils::parseConfigFile(tool.configFilePath) < 0) {
        program.fail(concat("the rules can't be used, ", host::lastLogEntry()));
    }
    return options;
}

// cJSON reports a lack of memory only by leaving something out. With these functions the program
// ends instead.
void useProgramsMemoryForJson() {
    cJSON_Hooks hooks = {[](size_t size) { return operator new(size); },
                         [](void* memory) { operator delete(memory); }};
    cJSON_InitHooks(&hooks);
}

// A Run has the dumps of one run of VexConverter.
struct Run {
    std::string outputFolder;
    std::vector<DumpCheck> dumps;
};

// Returns the files of the folder. If there are none, or they can't be listed, it adds a dump that
// says so.
std::vector<std::string> listFolder(const std::string& path, std::vector<DumpCheck>& dumps) {
    std::vector<std::string> files;
    const std::string before = host::lastLogEntry();
    FileUtils::getFilePathsInDirectory(path, files);
    const std::string entry = host::lastLogEntry();
    const std::string reason = access(path.c_str(), R_OK | X_OK) != 0 ? strerror(errno)
                               : entry != before                      ? entry
                                                                      : "";
    if (files.empty() || !reason.empty()) {
        DumpCheck folder;
        folder.path = path;
        folder.add(Verdict::NOTHING, "The folder ",
                   reason.empty() ? "has no files" : "can't be listed: ", reason, ".");
        dumps.push_back(folder);
    }
    return files;
}

// VexConverter takes a folder or several files. The dumps of a folder are sorted by name only
// afterwards, because the part file that is reached first names a set's output.
Run checkRun(const std::vector<std::string>& inputs, const CommandLineOptions& options) {
    std::vector<std::string> files = inputs;
    const std::string& input = inputs.front();
    const bool isFolder = FileUtils::isDirectory(input);
    Run run;
    if (isFolder) {
        files = listFolder(input, run.dumps);
    }
    const auto first = std::find_if(files.begin(), files.end(), FileUtils::isFile);
    const std::string& place = !options.outputPath.empty() ? options.outputPath
                               : first != files.end()      ? *first
                                                           : input;
    run.outputFolder = FileUtils::getFolderPath(place);
    for (DumpCheck& dump : checkDumps(files, run.outputFolder, options)) {
        run.dumps.push_back(std::move(dump));
    }
    if (isFolder) {
        std::sort(run.dumps.begin(), run.dumps.end(),
                  [](const DumpCheck& a, const DumpCheck& b) { return a.path < b.path; });
    }
    return run;
}

// Returns the inputs in the order given. Each folder is a run of its own, and so are files in
// succession.
std::vector<std::vector<std::string>> splitIntoRuns(const std::vector<std::string>& inputs) {
    std::vector<std::vector<std::string>> runs;
    bool afterFile = false;
    for (const std::string& input : inputs) {
        const bool file = !FileUtils::isDirectory(input);
        if (!file || !afterFile) {
            runs.emplace_back();
        }
        runs.back().push_back(input);
        afterFile = file;
    }
    return runs;
}

// Looks at the samples of dumps.
class Prober {
  public:
    explicit Prober(const Options& options)
        : mOptions(options), mPictures(options.pictureFolder, options.tool.inputColorSpace) {}

    // Finds what the dump could be, and adds to its problems what the samples tell.
    Search probe(DumpCheck& dump) {
        Search search;
        if (dump.canBeRead && dump.isUnknown) {
            search = findReadings(dump);
        } else if (dump.canBeRead && dump.reading().frameSize > 0) {
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
                     ", and not like what ",
                     dump.rule ? "the name says: " : "the options say: ", dump.reading(), ".");
        } else if (!dump.isUnknown) {
            search.readings.clear();
        }
        if (!mOptions.pictureFolder.empty()) {
            writePictures(dump, search);
        }
        return search;
    }

    const PictureFolder& pictures() const { return mPictures; }

  private:
    Search findReadings(const DumpCheck& dump) const {
        CommandLineOptions known = mOptions.tool;
        if (dump.hasReading()) {
            known.inputFormat = ColorConvert::UNKNOWN;  // it does not fit
        }
        return searchReadings(dump.path, known, namedSizesOf(dump), dump.reading());
    }

    // Compares what the name or the options say with the samples. Dumps of one kind come from one
    // writer, so it is enough that a few of each kind are right.
    Search compareReading(const DumpCheck& dump) {
        constexpr int ENOUGH = 10;
        const Reading reading = dump.reading();
        int& right = mRightOfKind[concat(reading, " ", reading.aligned, " ", dump.fileSize)];
        if (right == ENOUGH) {
            return {};
        }
        Search search = checkReading(dump.path, reading);
        right = search.doubted || !search.failure.empty() ? 0 : right + 1;
        return search;
    }

    void writePictures(const DumpCheck& dump, const Search& search) {
        if (dump.reading().frameSize > 0) {
            mPictures.write(dump, dump.reading(), "name");
        }
        for (size_t i = 0; i < search.readings.size(); ++i) {
            if (!search.readings[i].named) {
                mPictures.write(dump, search.readings[i], std::to_string(i + 1));
            }
        }
    }

    const Options& mOptions;
    PictureFolder mPictures;
    // This counts for each kind of dump how many in succession were right. The kind is a text of
    // the format, the sizes and the bytes of the file.
    std::map<std::string, int> mRightOfKind;
};

// Prints what is to be said of each dump of a run. Returns true if all convert, or after a run if
// all outputs are whole. separator is what comes before the next object of JSON.
bool reportRun(Run run, const Options& options, Prober& prober, const char*& separator) {
    const Conversion conversion = {options.tool.outputPath, !options.pictureFolder.empty()};
    const bool isAfterRun = !options.writtenFolder.empty();
    bool allConvert = true;
    for (DumpCheck& dump : run.dumps) {
        if (isAfterRun) {
            checkWrittenOutputs(dump, options.writtenFolder);
        }
        const Search search = isAfterRun ? Search() : prober.probe(dump);
        if (options.json) {
            fputs(std::exchange(separator, ",\n"), stdout);
        }
        const auto print = options.json ? printJson : printText;
        print({dump, search, conversion, run.outputFolder, isAfterRun});
        allConvert = allConvert && dump.verdict == Verdict::CONVERTS;
    }
    return allConvert;
}

}  // namespace

int main(int argc, char* argv[]) {
    const Companion program("probe-dump", USAGE, 2);
    useProgramsMemoryForJson();
    const Options options = parseOptions(program, argc, argv);
    if (!options.pictureFolder.empty()) {
        std::error_code error;
        std::filesystem::create_directories(options.pictureFolder, error);
    }
    Prober prober(options);
    bool allConvert = true;
    const char* separator = "[";
    for (const auto& inputs : splitIntoRuns(options.tool.inputPaths)) {
        allConvert &= reportRun(checkRun(inputs, options.tool), options, prober, separator);
    }
    if (options.json) {
        puts("]");
    }
    return program.finish(allConvert && !prober.pictures().lost() ? 0 : 1);
}
