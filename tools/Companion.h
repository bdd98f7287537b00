// This is what the companions share as programs: how they start and end, and the options that they
// take.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "driver/CommandLine.h"

struct OptionRow {
    const char* name;
    int letter;  // of the short form; 0 if there is none
    bool takesValue;
    std::function<void(const char* value)> apply;
};

// Each companion defines what it is called and how it fails.
struct Companion {
    const char* name;
    const char* usage;
    int wrongStatus;  // its status if the options are wrong, or if standard output can't be written
};
extern const Companion companion;

// Applies the arguments in their order. rows has the companion's own options. Both companions also
// have --help, --version and the options for the format, the size, the folder and the color space.
// Other arguments become the input paths. An unknown option ends the program. After this call, a
// limit on file sizes makes writes fail.
void startCompanion(int argc, char* argv[], CommandLineOptions& options,
                    std::vector<OptionRow> rows);

// These end the program if the value is none that they know.
int numberFrom(const char* what, const char* value);  // from 1 to 1,000,000
ColorConvert::ColorFormat formatFrom(const char* value);
std::string folderFrom(const char* value);

// Ends the program with an error message.
[[noreturn]] void fail(const std::string& problem);

// Returns the status, or fails if the program's answer could not be printed in full.
int finish(int status);
