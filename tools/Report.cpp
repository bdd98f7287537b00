#include "Report.h"

#include <cjson/cJSON.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <utility>

#include "Commands.h"
#include "Text.h"
#include "color/Catalogue.h"

namespace {

const char* keyOf(Verdict verdict) {
    constexpr const char* KEYS[] = {"converts", "partly", "appends", "wrong", "nothing"};
    return KEYS[static_cast<int>(verdict)];
}

const char* textOf(Verdict verdict, bool isAfterRun) {
    constexpr const char* TEXTS[] = {
        "Converts in full.", "Converts its whole frames only. The rest is left out.",
        "Writes to an output that exists already or that another dump has.",
        "Gives an output that is likely wrong.", "Gives no output."};
    return !isAfterRun                    ? TEXTS[static_cast<int>(verdict)]
           : verdict == Verdict::CONVERTS ? "All outputs are there and whole."
                                          : "Outputs are missing or not whole.";
}

const char* nameOf(ColorConvert::ColorFormat format) { return colorFormatInfo(format).name; }

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
                  reading.named && dump.rule ? ", which the name says"
                  : reading.named            ? ", which the options say"
                                             : "");
        printLine("  ", commandFor(reading, dump.path, options));
    }
}

// Returns the command that shows the raw output of a dump that converts, or else of the first
// candidate. It is empty if there is neither, or if outputs of an earlier run are checked.
std::string showCommand(const DumpCheck& dump, const CommandLineOptions& options) {
    const auto& readings = dump.search.readings;
    if (dump.isAfterRun || (dump.verdict != Verdict::CONVERTS && readings.empty())) {
        return "";
    }
    return dump.verdict == Verdict::CONVERTS
               ? showCommandFor(dump.reading, dump.path, dump.outputFolder)
               : showCommandFor(readings[0], dump.path, options.outputPath);
}

// Adds null if the text is empty.
void addText(cJSON* object, const char* key, const std::string& text) {
    cJSON_AddItemToObject(
        object, key, text.empty() ? cJSON_CreateNull() : cJSON_CreateString(asUtf8(text).c_str()));
}

// Adds null if there is no number.
void addNumber(cJSON* object, const char* key, std::optional<double> number) {
    cJSON_AddItemToObject(object, key, number ? cJSON_CreateNumber(*number) : cJSON_CreateNull());
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
    if (reading.twin != ColorConvert::UNKNOWN) {
        addText(object, "or", nameOf(reading.twin));
    }
    addNumber(object, "width", reading.size.width);
    addNumber(object, "height", reading.size.height);
    addNumber(object, "frames", static_cast<double>(reading.frames));
    if (reading.cutOff) {
        cJSON_AddTrueToObject(object, "cutOff");
    }
    addNumber(object, "rank", static_cast<double>(rankOf(dump.search, index)));
    addNumber(object, "score", reading.score);
    cJSON_AddBoolToObject(object, "named", reading.named ? 1 : 0);
    addText(object, "pixelFormat", pixelFormatOf(reading.format));
    addText(object, "command", commandFor(reading, dump.path, options));
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
    printLine(textOf(dump.verdict, dump.isAfterRun));
}

void printJson(const DumpCheck& dump, const CommandLineOptions& options) {
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> owner(cJSON_CreateObject(),
                                                                &cJSON_Delete);
    cJSON* object = owner.get();
    addText(object, "file", dump.path);
    addText(object, "rule", dump.rule.value_or(""));
    addText(object, "format", nameOf(dump.reading.format));
    const auto ifKnown = [&](int size) {
        return dump.hasReading() ? std::optional<double>(size) : std::nullopt;
    };
    addNumber(object, "width", ifKnown(dump.reading.size.width));
    addNumber(object, "height", ifKnown(dump.reading.size.height));
    addNumber(object, "alignedWidth", ifKnown(dump.reading.aligned.width));
    addNumber(object, "alignedHeight", ifKnown(dump.reading.aligned.height));
    addNumber(object, "frames",
              dump.frames ? std::optional(static_cast<double>(*dump.frames)) : std::nullopt);
    cJSON_AddBoolToObject(object, "converts", dump.verdict == Verdict::CONVERTS ? 1 : 0);
    addText(object, "verdict", keyOf(dump.verdict));
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
