#include "driver/CommandLine.h"

#include <errno.h>
#include <getopt.h>
#include <stdlib.h>

#include <cstdio>

#include "color/Catalogue.h"

namespace {

#ifdef __GLIBC__  // The device's C library has this function, and glibc lacks it.
const char* getprogname() { return program_invocation_short_name; }
#endif

// getopt_long returns these values for options without a short form. The program's interface fixes
// the numbers, and gives no option the number 3.
enum LongOnly { PNG, INPUT_COLORSPACE, OUTPUT_COLORSPACE, LIST_COLORSPACES = 4, HELP };

constexpr option LONG_OPTIONS[] = {
    {"input", required_argument, nullptr, 'i'},
    {"output", required_argument, nullptr, 'o'},
    // Without this row getopt_long refuses --out, because --output-colorspace begins so too.
    {"out", required_argument, nullptr, 'o'},
    {"width", required_argument, nullptr, 'w'},
    {"height", required_argument, nullptr, 'h'},
    {"format", required_argument, nullptr, 'f'},
    {"png", no_argument, nullptr, PNG},
    {"input-colorspace", required_argument, nullptr, INPUT_COLORSPACE},
    {"output-colorspace", required_argument, nullptr, OUTPUT_COLORSPACE},
    {"config-file", required_argument, nullptr, 'c'},
    {"list-formats", no_argument, nullptr, 'l'},
    {"list-colorspaces", no_argument, nullptr, LIST_COLORSPACES},
    {"help", no_argument, nullptr, HELP},
    {},
};

void printRow(const char* name, const char* description) {
    fprintf(stderr, "%-40s%s\n", name, description);
}

void printInputFormatSection() {
    fprintf(stderr, "All supported input color formats:\n");
    printRow("Name", "Description");
    for (const ColorFormatInfo& info : colorFormatInfos) {
        if (ColorConvert::checkPlatformSupport(info.value) && info.value != ColorConvert::UNKNOWN) {
            printRow(info.name, info.description);
        }
    }
}

void printColorSpaceSection() {
    fprintf(stderr, "All supported color spaces:\n");
    printRow("Name", "Description");
    for (const ColorSpaceInfo& info : colorSpaceInfos) {
        printRow(info.name, info.description);
    }
}

// The program's interface gives both listings a parameter for the option's value. They don't use
// it.
[[noreturn]] void printSupportedInputFormats(int /*unused*/) {
    printInputFormatSection();
    exit(0);
}

[[noreturn]] void printSupportedColorSpaces(int /*unused*/) {
    printColorSpaceSection();
    exit(0);
}

ColorConvert::ColorSpace colorSpaceFrom(const char* name) {
    return static_cast<ColorConvert::ColorSpace>(ColorConvert::getColorSpaceFromStr(name));
}

// value is what getopt_long returned. The option's argument is optarg.
void applyOption(int value, CommandLineOptions& options) {
    switch (value) {
        case 'i':
            options.inputPaths.emplace_back(optarg);
            break;
        case 'o':
            options.outputPath = optarg;
            break;
        case 'w':
            options.width = atoi(optarg);
            break;
        case 'h':
            options.height = atoi(optarg);
            break;
        case 'f':
            options.inputFormat = ColorConvert::getColorFormatFromStr(optarg);
            break;
        case PNG:
            options.png = true;
            break;
        case INPUT_COLORSPACE:
            options.inputColorSpace = colorSpaceFrom(optarg);
            break;
        case OUTPUT_COLORSPACE:
            options.outputColorSpace = colorSpaceFrom(optarg);
            break;
        case 'c':
            options.configFilePath = optarg;
            break;
        case 'l':
            printSupportedInputFormats(value);
        case LIST_COLORSPACES:
            printSupportedColorSpaces(value);
        case HELP:
            printUsage(0);
        default:
            printUsage(1);
    }
}

}  // namespace

void printUsage(int exitCode) {
    const char* name = getprogname();
    fprintf(stderr,
            "Usage: %s -i INPUT -o OUTPUT\n"
            "Examples:\n"
            "1. Convert all dump files in directory /data/vendor/vcodec using arguments parsed "
            "from config file\n"
            "    %s -i /data/vendor/vcodec -o /sdcard\n"
            "2. Convert /data/vendor/vcodec/test.yuv using cmdline arguments\n"
            "    %s -i /data/vendor/vcodec/test.yuv -o /sdcard -w 1920 -h 1088 -f NV12_BLK\n"
            "3. Convert all dump files in directory /data/vendor/vcodec and output PNG file\n"
            "    %s -i /data/vendor/vcodec/* -o /sdcard --png\n"
            "\n"
            "Options:\n",
            name, name, name, name);
    printRow("-i, --input PATH", "input file or folder path");
    printRow("-o, --output PATH", "output folder path");
    printRow("-w, --width WIDTH", "input frame width");
    printRow("-h, --height HEIGHT", "input frame height");
    printRow("-f, --format FORMAT", "input frame color format");
    printRow("    --png", "set output color format to PNG");
    printRow("    --input-colorspace COLORSPACE", "input frame color space");
    printRow("    --output-colorspace COLORSPACE", "output frame color space");
    printRow("-c, --config-file PATH", "color format config file path");
    printRow("-l, --list-formats", "show all supported input color formats");
    printRow("    --list-colorspaces", "show all supported color spaces");
    printRow("    --help", "show this help message");
    fprintf(stderr, "\n");
    printInputFormatSection();
    fprintf(stderr, "\n");
    printColorSpaceSection();
    exit(exitCode);
}

CommandLineOptions parseCommandLine(int argc, char* argv[]) {
    if (argc <= 1) {
        printUsage(0);
    }
    CommandLineOptions options;
    int value = 0;
    while ((value = getopt_long(argc, argv, "i:o:w:h:f:c:l", LONG_OPTIONS, nullptr)) != -1) {
        applyOption(value, options);
    }
    options.inputPaths.insert(options.inputPaths.end(), argv + optind, argv + argc);
    return options;
}
