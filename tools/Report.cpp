#include "Report.h"

#include <cjson/cJSON.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

#include "Text.h"
#include "blit/Layout.h"
#include "color/Catalogue.h"
#include "driver/FileConversion.h"

namespace {

using Color = ColorConvert;

// These have the order of Verdict.
struct VerdictTexts {
    const char* key;
    const char* sentence;
};
constexpr VerdictTexts VERDICTS[] = {
    {"converts", "Converts in full."},
    {"partly", "Converts its whole frames only. The rest is left out."},
    {"appends", "Writes to an output that exists already or that another dump has."},
    {"wrong", "Gives an output that is likely wrong."},
    {"nothing", "Gives no output."}};

const char* nameOf(Color::ColorFormat format) { return colorFormatInfo(format).name; }

// Returns ffmpeg's name of the pixel format that raw outputs of dumps in this format have.
const char* pixelFormatOf(Color::ColorFormat format) {
    // The names have the order of host::LinearFormat.
    constexpr const char* NAMES[] = {"rgb24", "rgba", "x2bgr10le", "nv12", "p010le"};
    return NAMES[static_cast<int>(host::findLayout(colorFormatInfo(format).pxColor)->format)];
}

// A shell refuses this until the variable is set.
constexpr const char* ANY_FOLDER = R"("${FOLDER:?}")";

// Returns the command that converts the dump by this reading.
std::string commandFor(const Reading& reading, const DumpCheck& dump,
                       const CommandLineOptions& options) {
    const ColorFormatInfo& info = colorFormatInfo(reading.format);
    const auto& [width, height] = reading.size;
    const std::string& folder = options.outputPath;
    const std::string board = Color::checkPlatformSupport(reading.format)
                                  ? ""
                                  : concat("VEX_HOST_BOARD_PLATFORM=", info.support.boards[0], " ");
    const std::string command =
        concat(board, "VexConverter -i ", shellWord(dump.path), " -o ",
               folder.empty() ? ANY_FOLDER : shellWord(folder), options.png ? " --png" : "");
    if (info.parts == nullptr) {
        return concat(command, " -w ", width, " -h ", height, " -f ", info.name);
    }
    // Options take no format of part files, so a rule says that these frames are whole.
    return concat(
        R"(echo '[{"Name": "whole frames", "Description": "", "Pattern": "")",
        R"(, "WidthIndex": -1, "HeightIndex": -1, "ColorFormatIndex": -1)",
        R"(, "SeparateStringIndex": -1, "DefaultWidth": )", width, R"(, "DefaultHeight": )", height,
        R"(, "DefaultWidthAlignment": )", info.widthAlignment, R"(, "DefaultHeightAlignment": )",
        info.heightAlignment, R"(, "DefaultColorFormat": ")", info.name,
        R"(", "ColorFormatPair": []}]' >whole-frames.json && )", command, " -c whole-frames.json");
}

// Returns the command that shows the raw output of a dump that converts, or else of the first
// candidate, cropped to the size before alignment. It is empty if there is neither, or if outputs
// of an earlier run are checked.
std::string showCommand(const DumpCheck& dump, const CommandLineOptions& options) {
    const auto& readings = dump.search.readings;
    const bool converts = dump.verdict == Verdict::CONVERTS;
    if (dump.isAfterRun || (!converts && readings.empty())) {
        return "";
    }
    const Reading& reading = converts ? dump.reading : readings[0];
    const std::string& folder = converts ? dump.outputFolder : options.outputPath;
    const auto& [width, height] = reading.size;
    const auto& [frameWidth, frameHeight] = reading.aligned;
    const bool isPadded = width != frameWidth || height != frameHeight;
    const auto format = Color::getDefaultOutputFormat(reading.format);
    return concat("ffplay -f rawvideo -pixel_format ", pixelFormatOf(format), " -video_size ",
                  frameWidth, "x", frameHeight,
                  isPadded ? concat(" -vf crop=", width, ":", height, ":0:0") : "", " ",
                  folder.empty() ? ANY_FOLDER : "",
                  shellWord(getOutputPath(dump.path, format, folder, false, 0)));
}

template <typename... Parts>
void printLine(const Parts&... parts) {
    printf("  %s\n", printable(concat(parts...)).c_str());
}

// Returns the number of a reading in the list, which for a named one may be beyond its end.
size_t rankOf(const Search& search, size_t index) {
    return index < Search::MAX_READINGS ? index + 1 : search.readings[index].place;
}

void printCandidates(const DumpCheck& dump, const CommandLineOptions& options) {
    const Search& search = dump.search;
    if (!search.readings.empty()) {
        printLine(search.isClear ? "The first candidate is clear."
                                 : "The candidates are uncertain: look at their pictures "
                                   "(--pictures FOLDER) before you trust one.");
    }
    for (size_t i = 0; i < search.readings.size(); ++i) {
        const Reading& reading = search.readings[i];
        printLine("Candidate ", rankOf(search, i), ": ", reading, ", frames: ", reading.frames,
                  reading.cutOff ? ", cut off" : "",
                  reading.named ? concat(", which ", dump.sayer()) : "");
        printLine("  ", commandFor(reading, dump, options));
    }
}

// Adds null if the text is empty.
void addText(cJSON* object, const char* key, const std::string& text) {
    cJSON_AddItemToObject(
        object, key, text.empty() ? cJSON_CreateNull() : cJSON_CreateString(asUtf8(text).c_str()));
}

// Adds null if there is no number.
void addNumber(cJSON* object, const char* key, std::optional<int64_t> number) {
    cJSON_AddItemToObject(
        object, key,
        number ? cJSON_CreateNumber(static_cast<double>(*number)) : cJSON_CreateNull());
}

void addTexts(cJSON* object, const char* key, const std::vector<std::string>& texts) {
    cJSON* array = cJSON_AddArrayToObject(object, key);
    for (const std::string& text : texts) {
        cJSON_AddItemToArray(array, cJSON_CreateString(asUtf8(text).c_str()));
    }
}

void addCandidate(cJSON* array, const DumpCheck& dump, const CommandLineOptions& options,
                  size_t index) {
    const Reading& reading = dump.search.readings[index];
    cJSON* object = cJSON_CreateObject();
    cJSON_AddItemToArray(array, object);
    addText(object, "format", nameOf(reading.format));
    if (reading.twin != Color::UNKNOWN) {
        addText(object, "or", nameOf(reading.twin));
    }
    addNumber(object, "width", reading.size.width);
    addNumber(object, "height", reading.size.height);
    addNumber(object, "frames", reading.frames);
    if (reading.cutOff) {
        cJSON_AddTrueToObject(object, "cutOff");
    }
    addNumber(object, "rank", static_cast<int64_t>(rankOf(dump.search, index)));
    cJSON_AddNumberToObject(object, "score", reading.score);
    cJSON_AddBoolToObject(object, "named", reading.named ? 1 : 0);
    addText(object, "pixelFormat", pixelFormatOf(reading.format));
    addText(object, "command", commandFor(reading, dump, options));
}

}  // namespace

void printText(const DumpCheck& dump, const CommandLineOptions& options) {
    printf("%s\n", printable(dump.path).c_str());
    if (dump.hasReading()) {
        const Reading& reading = dump.reading;
        printLine(nameOf(reading.format), ", ", reading.size, ", aligned ", reading.aligned,
                  ", by ", dump.rule ? "the rule " + *dump.rule : "the options");
    }
    if (dump.frames) {
        printLine("Whole frames: ", *dump.frames);
    }
    if (!dump.outputs.empty()) {
        printLine("Raw output: ", dump.outputs.front());
    }
    if (dump.outputs.size() > 1) {
        printLine("Pictures: ", dump.outputs[1],
                  dump.outputs.size() > 2 ? " to " + dump.outputs.back() : "");
    }
    for (const std::string& problem : dump.problems) {
        printLine("Problem: ", problem);
    }
    for (const std::string& note : dump.notes) {
        printLine("Note: ", note);
    }
    printCandidates(dump, options);
    const std::string show = showCommand(dump, options);
    if (!show.empty()) {
        printLine("Show: ", show);
    }
    printLine(!dump.isAfterRun ? VERDICTS[static_cast<int>(dump.verdict)].sentence
              : dump.verdict == Verdict::CONVERTS ? "All outputs are there and whole."
                                                  : "Outputs are missing or not whole.");
}

void printJson(const DumpCheck& dump, const CommandLineOptions& options) {
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> owner(cJSON_CreateObject(),
                                                                &cJSON_Delete);
    cJSON* object = owner.get();
    addText(object, "file", dump.path);
    addText(object, "rule", dump.rule.value_or(""));
    addText(object, "format", nameOf(dump.reading.format));
    const auto ifKnown = [&](int size) {
        return dump.hasReading() ? std::optional<int64_t>(size) : std::nullopt;
    };
    addNumber(object, "width", ifKnown(dump.reading.size.width));
    addNumber(object, "height", ifKnown(dump.reading.size.height));
    addNumber(object, "alignedWidth", ifKnown(dump.reading.aligned.width));
    addNumber(object, "alignedHeight", ifKnown(dump.reading.aligned.height));
    addNumber(object, "frames", dump.frames);
    cJSON_AddBoolToObject(object, "converts", dump.verdict == Verdict::CONVERTS ? 1 : 0);
    addText(object, "verdict", VERDICTS[static_cast<int>(dump.verdict)].key);
    cJSON_AddBoolToObject(object, "doubted", dump.search.doubted ? 1 : 0);
    addTexts(object, "outputs", dump.outputs);
    addText(object, "pixelFormat", dump.hasReading() ? pixelFormatOf(dump.reading.format) : "");
    addText(object, "show", showCommand(dump, options));
    addTexts(object, "problems", dump.problems);
    addTexts(object, "notes", dump.notes);
    const auto& readings = dump.search.readings;
    addText(object, "sure", readings.empty() ? "" : dump.search.isClear ? "clear" : "uncertain");
    cJSON* candidates = cJSON_AddArrayToObject(object, "candidates");
    for (size_t i = 0; i < readings.size(); ++i) {
        addCandidate(candidates, dump, options, i);
    }
    const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_Print(object), &cJSON_free);
    fputs(text.get(), stdout);
}
