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

// The letters and digits of a name, in lower case.
std::string simplified(const std::string& name) {
    std::string letters;
    for (const unsigned char c : name) {
        if (isalnum(c) != 0) {
            letters += static_cast<char>(tolower(c));
        }
    }
    return letters;
}

// Says that no row of the table has the name, and which one was likely meant or which there are:
// the name that has the same letters, or else the first one that begins as the value does.
template <typename Table>
std::string describeUnknown(const char* what, const std::string& value, const Table& table) {
    const std::string wanted = simplified(value);
    std::string all;
    std::string likely;
    for (const auto& row : table) {
        const std::string known = simplified(row.name);
        const size_t common = std::min(known.size(), wanted.size());
        if (known == wanted ||
            (likely.empty() && common > 2 && known.substr(0, common) == wanted.substr(0, common))) {
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
    enum { HELP = 1000, VERSION };
    std::vector<option> options = {{"help", no_argument, nullptr, HELP},
                                   {"version", no_argument, nullptr, VERSION}};
    std::string letters;
    for (const OptionRow& row : rows) {
        options.push_back({row.name, row.takesValue ? 1 : 0, nullptr, row.letter});
        if (row.letter < 256) {
            letters += static_cast<char>(row.letter);
            letters += row.takesValue ? ":" : "";
        }
    }
    options.push_back({});
    int letter = 0;
    while ((letter = getopt_long(argc, argv, letters.c_str(), options.data(), nullptr)) != -1) {
        if (letter == HELP || letter == VERSION) {
            printf("%s", letter == HELP ? mUsage : concat(mName, " " VEX_VERSION "\n").c_str());
            exit(finish(0));
        }
        const auto row = std::find_if(rows.begin(), rows.end(), [letter](const OptionRow& option) {
            return option.letter == letter;
        });
        if (row == rows.end()) {
            fputs(mUsage, stderr);
            exit(mWrongStatus);
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
