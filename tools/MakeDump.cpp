// make-dump writes a test pattern, or raw frames, as a dump of any color format. A built-in rule
// decodes the dump's name, if there is a rule for the format.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "Companion.h"
#include "DumpFile.h"
#include "DumpName.h"
#include "Packer.h"
#include "TestPattern.h"
#include "Text.h"
#include "color/Catalogue.h"
#include "color/ColorConvert.h"
#include "driver/OutOfMemory.h"
#include "fileutils/File.h"
#include "fileutils/FileUtils.h"

namespace {

constexpr const char* USAGE =
    "Usage: make-dump -f FORMAT -w WIDTH -h HEIGHT [-o FOLDER] [-n FRAMES]\n"
    "                 [-i FILE [-r FORMAT]] [--colorspace SPACE] [--whole]\n"
    "Writes a test pattern, or raw frames, as a dump. Prints the names of its files.\n"
    "  -f, --format FORMAT        color format of the dump, as VexConverter lists it\n"
    "  -w, --width WIDTH          width of the frames in pixels\n"
    "  -h, --height HEIGHT        height of the frames in lines\n"
    "  -o, --output FOLDER        folder of the dump, which is made (default: .)\n"
    "  -n, --frames FRAMES        number of frames (default: 1, or with -i all)\n"
    "  -i, --input FILE           raw frames to write instead of the test pattern\n"
    "  -r, --raw-format FORMAT    format of the raw frames: RGB888, RGBA8888, NV12,\n"
    "                             RGBA1010102, P010, YV12 or YUV420P (default: the\n"
    "                             format that the dump converts to)\n"
    "      --colorspace SPACE     color space for YUV made from RGB, or RGB made from\n"
    "                             YUV (default: BT601_LIMIT)\n"
    "      --whole                write frames of CPQ or Lumo whole, not in parts\n"
    "      --version              show the version\n"
    "      --help                 show this text\n";

// The inherited options are those that VexConverter has too. Here they describe the dump.
struct Options : CommandLineOptions {
    ColorConvert::ColorFormat rawFormat = ColorConvert::UNKNOWN;
    std::string rawFile;
    int frames = 0;
    bool whole = false;
};

Options parseOptions(int argc, char* argv[]) {
    Options options;
    options.outputPath = ".";
    startCompanion(
        argc, argv, options,
        {{"frames", 'n', true,
          [&](const char* v) { options.frames = numberFrom("the number of frames", v); }},
         {"input", 'i', true, [&](const char* v) { options.rawFile = v; }},
         {"raw-format", 'r', true, [&](const char* v) { options.rawFormat = formatFrom(v); }},
         {"whole", 0, false, [&](const char*) { options.whole = true; }}});
    if (!options.inputPaths.empty()) {
        fail("not an option: " + options.inputPaths[0]);
    }
    if (options.inputFormat == ColorConvert::UNKNOWN || options.width == 0 || options.height == 0) {
        fail("format, width and height are needed");
    }
    if (options.rawFormat == ColorConvert::UNKNOWN) {
        options.rawFormat = ColorConvert::getDefaultOutputFormat(options.inputFormat);
    }
    return options;
}

// Returns the number of frames to write. Ends the program if there is a raw file that can't be
// read, or that holds fewer.
int countFrames(const Options& options, const FrameGeometry& raw) {
    if (!raw.layout.isUnpacked() && !raw.layout.isPlanar()) {
        fail("raw frames must be in a linear format: NV12, YUV420P, YV12, P010 or an RGB format");
    }
    if (options.rawFile.empty()) {
        return std::max(1, options.frames);
    }
    const DumpFile file(options.rawFile);
    const std::string failure = file.size() > INT_MAX ? "it has 2 GiB or more" : file.failure();
    if (!failure.empty()) {
        fail(concat("can't read ", options.rawFile, ": ", failure));
    }
    const auto size = static_cast<int>(file.size());
    const int held = size / raw.size;
    if (held == 0 || options.frames > held) {
        fail(concat(options.rawFile, " holds ", held, " frames of ", raw.size, " bytes"));
    }
    if (size % raw.size != 0) {
        fprintf(stderr, "Warning: %d bytes left over, less than a frame of %d: %s\n",
                size % raw.size, raw.size, printable(options.rawFile).c_str());
    }
    return options.frames == 0 ? held : options.frames;
}

// Returns a frame of the test pattern, or of the raw file.
Picture pictureOf(const Options& options, const FrameGeometry& raw, int index) {
    if (options.rawFile.empty()) {
        return testPattern(options.width, options.height, index + 1);
    }
    const int size = raw.size;
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (FileUtils::readFromFile(options.rawFile, bytes.data(), size, size, index) != size) {
        fail(concat("can't read frame ", index + 1, " of ", options.rawFile));
    }
    return unpackFrame(std::move(bytes), raw);
}

// Appends to the file, or ends the program.
void append(const std::string& path, const uint8_t* bytes, int size) {
    if (FileUtils::writeToFile(path, bytes, size) != size) {
        fail(concat("can't write all of ", path));
    }
}

// Writes a file, which replaces an old one, and prints its name.
void writeNew(const std::string& path, const uint8_t* bytes, int size) {
    std::error_code error;
    if (std::filesystem::exists(path, error) && !FileUtils::isFile(path)) {
        fail(concat("can't write ", path, ": it is no regular file"));
    }
    if (File(fopen(path.c_str(), "wb")) == nullptr) {
        fail(concat("can't write ", path, ": ", strerror(errno)));
    }
    append(path, bytes, size);
    printf("%s\n", path.c_str());
}

// Says what was written, and how to convert it if no built-in rule decodes its name.
void reportFrames(const Options& options, int frames, bool decoded) {
    fflush(stdout);
    fprintf(stderr, "Wrote %d frame%s\n", frames, frames == 1 ? "" : "s");
    if (!decoded) {
        const std::string hint =
            !ColorConvert::isSeparate(options.inputFormat)
                ? concat("this format; convert it with -w ", options.width, " -h ", options.height,
                         " -f ", colorFormatInfo(options.inputFormat).name)
            : options.whole ? "whole frames of this format; convert them with a rule whose pair "
                              "says \"Separate\": false"
                            : "these files; convert them with a rule";
        fprintf(stderr, "No built-in rule decodes %s\n", hint.c_str());
    }
}

// Makes the dump's folder. Ends the program if one of the dump's files is the input, which would be
// lost.
void prepareFolder(const Options& options, const std::vector<std::string>& files) {
    std::error_code error;
    for (const std::string& file : files) {
        if (std::filesystem::equivalent(file, options.rawFile, error)) {
            fail("the dump would replace its input: " + file);
        }
    }
    std::filesystem::create_directories(options.outputPath, error);
    if (error) {
        fail(concat("can't make the folder ", options.outputPath, ": ", error.message()));
    }
}

void writeDump(const Options& options) {
    const auto format = options.inputFormat;
    const auto [width, height] =
        ColorConvert::getDefaultAlignedSize(options.width, options.height, format);
    // No output has more bytes than a frame in RGBA8888.
    if (ColorConvert::getFrameSize(width, height, format) < 0 ||
        ColorConvert::getFrameSize(width, height, ColorConvert::RGBA8888) < 0) {
        fail("a frame is 2 GiB or more");
    }
    const FrameGeometry raw(options.rawFormat, options.width, options.height);
    const int frames = countFrames(options, raw);
    const FrameGeometry geometry(format, width, height);
    // Each frame has a set of part files, or all frames have one file.
    const bool separate = ColorConvert::isSeparate(format) && !options.whole;
    const auto parts = separate ? ColorConvert::getSeparateSize(width, height, format)
                                : std::vector<std::pair<int, int>>{{geometry.size, 0}};
    const DumpName name = nameDump(options, separate ? frames : 0);
    prepareFolder(options, name.files);
    auto file = name.files.begin();
    for (int i = 0; i < frames; ++i) {
        const std::vector<uint8_t> dump =
            packFrame(pictureOf(options, raw, i), geometry, options.inputColorSpace);
        for (const auto& [size, offset] : parts) {
            const auto write = separate || i == 0 ? writeNew : append;
            write(separate ? *file++ : *file, dump.data() + offset, size);
        }
    }
    reportFrames(options, frames, name.decoded);
}

}  // namespace

const Companion companion = {"make-dump", USAGE, 1};

int main(int argc, char* argv[]) {
    exitWhenOutOfMemory();
    writeDump(parseOptions(argc, argv));
    return finish(0);
}
