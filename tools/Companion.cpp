#include "Companion.h"

#include <getopt.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Text.h"
#include "color/Catalogue.h"

namespace {

// Returns the value of the table's row with that name. If there is none, it ends the program, and
// says which name has the same letters in another case, or else which names there are.
template <typename Table>
auto find(const char* what, const char* name, const Table& table) {
    std::string known;
    std::string likely;
    for (const auto& row : table) {
        if (*name != '\0' && strcmp(row.name, name) == 0) {
            return row.value;
        }
        likely = strcasecmp(row.name, name) == 0 ? row.name : likely;
        known += (known.empty() ? "" : ", ") + std::string(row.name);
    }
    fail(concat("unknown ", what, ": ", name,
                likely.empty() ? "; known are " + known : ", did you mean " + likely + "?"));
}

}  // namespace

void startCompanion(int argc, char* argv[], CommandLineOptions& options,
                    std::vector<OptionRow> rows) {
    signal(SIGXFSZ, SIG_IGN);
    setlocale(LC_CTYPE, "C.UTF-8");
    const auto print = [](const std::string& text) {
        fputs(text.c_str(), stdout);
        exit(finish(0));
    };
    const std::vector<OptionRow> common = {
        {"format", 'f', true, [&](const char* v) { options.inputFormat = formatFrom(v); }},
        {"width", 'w', true, [&](const char* v) { options.width = numberFrom("the width", v); }},
        {"height", 'h', true, [&](const char* v) { options.height = numberFrom("the height", v); }},
        {"output", 'o', true, [&](const char* v) { options.outputPath = folderFrom(v); }},
        {"colorspace", 0, true,
         [&](const char* v) { options.inputColorSpace = find("color space", v, colorSpaceInfos); }},
        {"help", 0, false, [&](const char*) { print(companion.usage); }},
        {"version", 0, false,
         [&](const char*) { print(concat(companion.name, " " VEX_VERSION "\n")); }}};
    rows.insert(rows.end(), common.begin(), common.end());
    std::vector<option> known;
    std::string letters;
    for (OptionRow& row : rows) {
        if (row.letter == 0) {
            row.letter = 256 + static_cast<int>(known.size());
        } else {
            letters += concat(static_cast<char>(row.letter), row.takesValue ? ":" : "");
        }
        known.push_back({row.name, row.takesValue ? 1 : 0, nullptr, row.letter});
    }
    known.push_back({});
    opterr = 0;
    int letter = 0;
    while ((letter = getopt_long(argc, argv, letters.c_str(), known.data(), nullptr)) != -1) {
        const auto row = std::find_if(rows.begin(), rows.end(), [letter](const OptionRow& option) {
            return option.letter == letter;
        });
        if (row == rows.end()) {
            fputs(companion.usage, stderr);
            fail(concat("unknown option, or one without its value: ", argv[optind - 1]));
        }
        row->apply(optarg);
    }
    options.inputPaths.assign(argv + optind, argv + argc);
}

int numberFrom(const char* what, const char* value) {
    char* end = nullptr;
    const long number = strtol(value, &end, 10);
    if (*end != '\0' || number < 1 || number > 1'000'000) {
        fail(concat(what, " is no number from 1 to 1000000: ", value));
    }
    return static_cast<int>(number);
}

ColorConvert::ColorFormat formatFrom(const char* value) {
    return find("color format", value, colorFormatInfos);
}

std::string folderFrom(const char* value) {
    if (*value == '\0') {
        fail("the name of the folder is empty");
    }
    return value;
}

void fail(const std::string& problem) {
    fprintf(stderr, "Error: %s\n", printable(problem).c_str());
    exit(companion.wrongStatus);
}

int finish(int status) {
    if (fflush(stdout) != 0 || ferror(stdout) != 0) {
        fail(concat("standard output can't be written: ", strerror(errno)));
    }
    return status;
}
