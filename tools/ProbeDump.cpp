// probe-dump: says what a dump is, whether VexConverter converts it, and if not why, and what it
// could be instead.
#include <cjson/cJSON.h>
#include <getopt.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <utility>

#include "Candidates.h"
#include "DumpCheck.h"
#include "OptionNumber.h"
#include "color/Catalogue.h"
#include "driver/OutOfMemory.h"
#include "fileutils/FileUtils.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* USAGE =
    "Usage: probe-dump [-c RULES] [-w WIDTH] [-h HEIGHT] [-f FORMAT] [--json]\n"
    "                  [--pictures FOLDER] FILE|FOLDER...\n"
    "Says what each dump is, whether VexConverter converts it as it stands, and if\n"
    "not why, and what the file could be instead.\n"
    "  -c, --config-file RULES  rules that decode the names (the built-in ones)\n"
    "  -w, --width WIDTH        pixels; with -h and -f instead of the rules, else the\n"
    "  -h, --height HEIGHT      lines   candidates are limited to what is given\n"
    "  -f, --format FORMAT      color format, as VexConverter lists them\n"
    "      --json               an array with an object for each dump\n"
    "      --pictures FOLDER    writes the first frame of each candidate as a PNG\n"
    "      --help               show this text\n"
    "The status is 0 when every dump converts as it stands, 1 when some will not, and\n"
    "2 when the options are wrong.\n";

struct Options {
    CommandLineOptions tool;  // as VexConverter takes them
    std::string pictureFolder;
    bool json = false;
};

[[noreturn]] void fail(const std::string& problem) {
    fprintf(stderr, "Error: %s\n%s", problem.c_str(), USAGE);
    exit(2);
}

int parseNumber(const char* text) {
    const int number = parseOptionNumber(text);
    if (number == 0) {
        fail(std::string("width and height are numbers from 1 to 1000000: ") + text);
    }
    return number;
}

ColorConvert::ColorFormat parseFormat(const char* name) {
    const auto format = ColorConvert::getColorFormatFromStr(name);
    if (format == ColorConvert::UNKNOWN) {
        fail(std::string("unknown color format: ") + name);
    }
    return format;
}

Options parseOptions(int argc, char* argv[]) {
    enum { JSON = 256, PICTURES, HELP };
    static const option LONG_OPTIONS[] = {{"config-file", required_argument, nullptr, 'c'},
                                          {"width", required_argument, nullptr, 'w'},
                                          {"height", required_argument, nullptr, 'h'},
                                          {"format", required_argument, nullptr, 'f'},
                                          {"json", no_argument, nullptr, JSON},
                                          {"pictures", required_argument, nullptr, PICTURES},
                                          {"help", no_argument, nullptr, HELP},
                                          {}};
    Options options;
    int value = 0;
    while ((value = getopt_long(argc, argv, "c:w:h:f:", LONG_OPTIONS, nullptr)) != -1) {
        switch (value) {
            case 'c':
                options.tool.configFilePath = optarg;
                break;
            case 'w':
                options.tool.width = parseNumber(optarg);
                break;
            case 'h':
                options.tool.height = parseNumber(optarg);
                break;
            case 'f':
                options.tool.inputFormat = parseFormat(optarg);
                break;
            case JSON:
                options.json = true;
                break;
            case PICTURES:
                options.pictureFolder = optarg;
                break;
            case HELP:
                fputs(USAGE, stdout);
                exit(0);
            default:
                fputs(USAGE, stderr);
                exit(2);
        }
    }
    options.tool.inputPaths.assign(argv + optind, argv + argc);
    if (options.tool.inputPaths.empty()) {
        fail("no file or folder is given");
    }
    if (FileUtils::parseConfigFile(options.tool.configFilePath) < 0) {
        fail("the rules cannot be read: " + options.tool.configFilePath);
    }
    return options;
}

const char* nameOf(ColorConvert::ColorFormat format) { return colorFormatInfo(format).name; }

void printText(const DumpCheck& dump, const std::vector<Candidate>& candidates) {
    printf("%s\n", dump.path.c_str());
    const FileJob& job = dump.job;
    if (job.inputFormat != ColorConvert::UNKNOWN) {
        printf("  %s, %d x %d, aligned %d x %d, by the %s\n", nameOf(job.inputFormat), dump.width,
               dump.height, job.alignedWidth, job.alignedHeight,
               dump.rule ? ("rule " + *dump.rule).c_str() : "options");
    }
    if (dump.frames) {
        printf("  Whole frames: %lld\n", static_cast<long long>(*dump.frames));
    }
    if (!dump.outputs.empty()) {
        printf("  Raw output: %s\n", dump.outputs.front().c_str());
    }
    if (dump.outputs.size() > 1) {
        printf("  Pictures: %s", dump.outputs[1].c_str());
        printf(dump.outputs.size() > 2 ? " to %s\n" : "\n", dump.outputs.back().c_str());
    }
    for (const std::string& problem : dump.problems) {
        printf("  Problem: %s\n", problem.c_str());
    }
    int rank = 0;
    for (const Candidate& candidate : candidates) {
        printf("  Candidate %d: %s%s%s, %d x %d, frames: %lld%s\n    %s\n", ++rank,
               nameOf(candidate.format), candidate.other == ColorConvert::UNKNOWN ? "" : " or ",
               nameOf(candidate.other), candidate.width, candidate.height,
               static_cast<long long>(candidate.frames), candidate.cutOff ? ", cut off" : "",
               commandFor(candidate, dump.path).c_str());
    }
    puts(dump.problems.empty() ? "  Converts as it stands." : "  Does not convert as it stands.");
}

void addNumber(cJSON* object, const char* key, std::optional<int64_t> value) {
    cJSON_AddItemToObject(
        object, key, value ? cJSON_CreateNumber(static_cast<double>(*value)) : cJSON_CreateNull());
}

void addText(cJSON* object, const char* key, std::optional<std::string> value) {
    cJSON_AddItemToObject(object, key,
                          value ? cJSON_CreateString(value->c_str()) : cJSON_CreateNull());
}

void addTexts(cJSON* object, const char* key, const std::vector<std::string>& texts) {
    cJSON* array = cJSON_AddArrayToObject(object, key);
    for (const std::string& text : texts) {
        cJSON_AddItemToArray(array, cJSON_CreateString(text.c_str()));
    }
}

void addCandidate(cJSON* array, const Candidate& candidate, const std::string& path) {
    cJSON* object = cJSON_CreateObject();
    cJSON_AddItemToArray(array, object);
    addText(object, "format", nameOf(candidate.format));
    if (candidate.other != ColorConvert::UNKNOWN) {
        addText(object, "or", nameOf(candidate.other));
    }
    addNumber(object, "width", candidate.width);
    addNumber(object, "height", candidate.height);
    addNumber(object, "frames", candidate.frames);
    if (candidate.cutOff) {
        cJSON_AddTrueToObject(object, "cutOff");
    }
    addText(object, "command", commandFor(candidate, path));
}

void printJson(const DumpCheck& dump, const std::vector<Candidate>& candidates) {
    const FileJob& job = dump.job;
    const bool known = job.inputFormat != ColorConvert::UNKNOWN;
    const auto ifKnown = [known](int64_t size) {
        return known ? std::optional(size) : std::nullopt;
    };
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> object(cJSON_CreateObject(),
                                                                 &cJSON_Delete);
    addText(object.get(), "file", dump.path);
    addText(object.get(), "rule", dump.rule);
    addText(object.get(), "format",
            known ? std::optional<std::string>(nameOf(job.inputFormat)) : std::nullopt);
    addNumber(object.get(), "width", ifKnown(dump.width));
    addNumber(object.get(), "height", ifKnown(dump.height));
    addNumber(object.get(), "alignedWidth", ifKnown(job.alignedWidth));
    addNumber(object.get(), "alignedHeight", ifKnown(job.alignedHeight));
    addNumber(object.get(), "frames", dump.frames);
    cJSON_AddBoolToObject(object.get(), "converts", dump.problems.empty() ? 1 : 0);
    addTexts(object.get(), "outputs", dump.outputs);
    addTexts(object.get(), "problems", dump.problems);
    cJSON* array = cJSON_AddArrayToObject(object.get(), "candidates");
    for (const Candidate& candidate : candidates) {
        addCandidate(array, candidate, dump.path);
    }
    const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_Print(object.get()), &cJSON_free);
    fputs(text.get(), stdout);
}

// cJSON reports a lack of memory only by leaving something out.
void endWhenJsonHasNoMemory() {
    cJSON_Hooks hooks = {[](size_t size) {
                             void* memory = malloc(size);  // NOLINT(*-no-malloc): cJSON calls free
                             return memory != nullptr ? memory : (std::terminate(), nullptr);
                         },
                         free};
    cJSON_InitHooks(&hooks);
}

// The dumps of one run of VexConverter, which takes a folder or several files. Those of a folder
// are sorted by name only afterwards, because the part file that is reached first names a set's
// output.
std::vector<DumpCheck> checkRun(const std::vector<std::string>& inputs,
                                const CommandLineOptions& options) {
    std::vector<std::string> files = inputs;
    const bool folder = FileUtils::isDirectory(inputs.front());
    if (folder) {
        files.clear();
        FileUtils::getFilePathsInDirectory(inputs.front(), files);
    }
    auto dumps = checkDumps(files, FileUtils::getFolderPath(inputs.front()), options);
    if (folder) {
        std::sort(dumps.begin(), dumps.end(),
                  [](const DumpCheck& a, const DumpCheck& b) { return a.path < b.path; });
    }
    return dumps;
}

// The inputs in the order given: each folder is a run of its own, and so are files in succession.
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

// Finds what the file could be, and says so where its samples do not tell.
std::vector<Candidate> findCandidates(DumpCheck& dump, const Options& options) {
    if (!dump.needsCandidates) {
        return {};
    }
    CommandLineOptions known = options.tool;
    if (dump.job.inputFormat != ColorConvert::UNKNOWN) {
        known.inputFormat = ColorConvert::UNKNOWN;  // it does not fit
    }
    const Search search = rankCandidates(dump.path, known, dump.width, dump.height);
    if (search.candidates.empty()) {
        dump.problems.emplace_back(
            search.fits ? "The samples do not tell the format: they have one value, or are noise."
                        : "The file is smaller than half a frame of any size that is tried: give "
                          "-w and -h.");
    }
    for (size_t i = 0; !options.pictureFolder.empty() && i < search.candidates.size(); ++i) {
        const std::string name = fs::path(dump.path).stem().string() + "_" + std::to_string(i + 1);
        if (!writePicture(search.candidates[i], dump.path, options.pictureFolder + "/" + name)) {
            dump.problems.push_back("The picture of candidate " + std::to_string(i + 1) +
                                    " cannot be written to " + options.pictureFolder + ".");
        }
    }
    return search.candidates;
}

}  // namespace

int main(int argc, char* argv[]) {
    exitWhenOutOfMemory();
    endWhenJsonHasNoMemory();
    const Options options = parseOptions(argc, argv);
    if (!options.pictureFolder.empty()) {
        std::error_code error;
        fs::create_directories(options.pictureFolder, error);
    }
    bool allConvert = true;
    const char* separator = "[";
    for (const auto& run : splitIntoRuns(options.tool.inputPaths)) {
        for (DumpCheck& dump : checkRun(run, options.tool)) {
            const auto candidates = findCandidates(dump, options);
            if (options.json) {
                fputs(std::exchange(separator, ",\n"), stdout);
                printJson(dump, candidates);
            } else {
                printText(dump, candidates);
            }
            allConvert = allConvert && dump.problems.empty();
        }
    }
    if (options.json) {
        puts(*separator == '[' ? "[]" : "]");
    }
    return allConvert ? 0 : 1;
}
