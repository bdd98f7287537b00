#include "Companion.h"

#include <getopt.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Text.h"
#include "color/Catalogue.h"
#include "driver/OutOfMemory.h"

namespace {

constexpr int FIRST_LONG = 256;  // the letters of options that have none begin here
enum { HELP = 1000, VERSION };

// Returns the letters and digits of a name, in lower case.
std::string simplified(const std::string& name) {
    std::string letters;
    for (const char c : name) {
        const auto letter = static_cast<unsigned char>(c);
        if (isalnum(letter) != 0) {
            letters += static_cast<char>(tolower(letter));
        }
    }
    return letters;
}

// Says that no row of the table has the name. It also says which name has the same letters, or else
// which names there are.
template <typename Table>
std::string describeUnknown(const char* what, const std::string& value, const Table& table) {
    const std::string wanted = simplified(value);
    std::string all;
    std::string likely;
    for (const auto& row : table) {
        if (simplified(row.name) == wanted) {
            likely = row.name;
        }
        all += (all.empty() ? "" : ", ") + std::string(row.name);
    }
    return concat("unknown ", what, ": ", value,
                  likely.empty() ? "; known are " + all : ", did you mean " + likely + "?");
}

}  // namespace

Companion::Companion(const char* name, const char* usage, int wrongStatus)
    : mName(name), mUsage(usage), mWrongStatus(wrongStatus) {
    signal(SIGXFSZ, SIG_IGN);
    exitWhenOutOfMemory();
    setlocale(LC_CTYPE, "C.UTF-8");
}

std::vector<std::string> Companion::parseOptions(int argc, char* argv[],
                                                 const std::vector<OptionRow>& rows) const {
    std::vector<option> options;
    std::string letters;
    const auto add = [&](const OptionRow& row) {
        options.push_back({row.name, row.takesValue ? 1 : 0, nullptr, row.letter});
        if (row.letter < FIRST_LONG) {
            letters += static_cast<char>(row.letter);
            letters += row.takesValue ? ":" : "";
        }
    };
    std::vector<OptionRow> all = rows;
    const auto print = [this](const std::string& text) {
        fputs(text.c_str(), stdout);
        exit(finish(0));
    };
    all.push_back({"help", HELP, false, [&](const char*) { print(mUsage); }});
    all.push_back({"version", VERSION, false,
                   [&](const char*) { print(concat(mName, " " VEX_VERSION "\n")); }});
    std::for_each(all.begin(), all.end(), add);
    options.push_back({});
    opterr = 0;
    int letter = 0;
    while ((letter = getopt_long(argc, argv, letters.c_str(), options.data(), nullptr)) != -1) {
        const auto row = std::find_if(all.begin(), all.end(), [letter](const OptionRow& option) {
            return option.letter == letter;
        });
        if (row == all.end()) {
            fputs(mUsage, stderr);
            fail(concat("unknown option, or one without its value: ", argv[optind - 1]));
        }
        row->apply(optarg);
    }
    return {argv + optind, argv + argc};
}

int Companion::number(const char* what, const char* value) const {
    char* end = nullptr;
    const long number = strtol(value, &end, 10);
    if (*value == '\0' || *end != '\0' || number < 1 || number > 1'000'000) {
        fail(concat(what, " is no number from 1 to 1000000: ", value));
    }
    return static_cast<int>(number);
}

ColorConvert::ColorFormat Companion::format(const char* value) const {
    const auto format = ColorConvert::getColorFormatFromStr(value);
    if (format == ColorConvert::UNKNOWN) {
        fail(describeUnknown("color format", value, colorFormatInfos));
    }
    return format;
}

ColorConvert::ColorSpace Companion::colorSpace(const char* value) const {
    for (const ColorSpaceInfo& info : colorSpaceInfos) {
        if (strcmp(info.name, value) == 0) {
            return info.value;
        }
    }
    fail(describeUnknown("color space", value, colorSpaceInfos));
}

std::string Companion::folder(const char* value) const {
    if (*value == '\0') {
        fail("the name of the folder is empty");
    }
    return value;
}

void Companion::fail(const std::string& problem) const {
    fprintf(stderr, "Error: %s\n", printable(problem).c_str());
    exit(mWrongStatus);
}

int Companion::finish(int status) const {
    if (fflush(stdout) != 0 || ferror(stdout) != 0) {
        fail(concat("standard output can't be written: ", strerror(errno)));
    }
    return status;
}
