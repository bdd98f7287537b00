// make-dump: writes a test pattern, or raw frames, as a dump of any color format, under a name that
// the built-in rules decode.
#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "DumpName.h"
#include "LinearFrame.h"
#include "OptionNumber.h"
#include "Packer.h"
#include "TestPattern.h"
#include "color/Catalogue.h"
#include "color/ColorConvert.h"
#include "driver/OutOfMemory.h"
#include "fileutils/FileUtils.h"

namespace {

constexpr const char* USAGE =
    "Usage: make-dump -f FORMAT -w WIDTH -h HEIGHT [-o FOLDER] [-n FRAMES]\n"
    "                 [-i FILE [-r FORMAT]] [--colorspace COLORSPACE]\n"
    "Writes a test pattern as a dump and prints the names of its files.\n"
    "  -f, --format FORMAT        color format of the dump, as VexConverter lists it\n"
    "  -w, --width WIDTH          pixels\n"
    "  -h, --height HEIGHT        lines; the dump is padded to its format's alignment\n"
    "  -o, --output FOLDER        where the dump goes (the working folder); is made\n"
    "  -n, --frames FRAMES        number of frames (1; with -i all of the file's)\n"
    "  -i, --input FILE           raw frames of that size instead of the pattern\n"
    "  -r, --raw-format FORMAT    format of that file: RGB888, RGBA8888, RGBA1010102,\n"
    "                             NV12, P010, YV12 or YUV420P (the format that the\n"
    "                             dump converts to)\n"
    "      --colorspace SPACE     of YUV made from RGB or into RGB (BT601_LIMIT)\n"
    "      --whole                CPQ and Lumo: whole frames in one file, no parts\n"
    "      --help                 show this text\n";

struct Options {
    ColorConvert::ColorFormat format = ColorConvert::UNKNOWN;
    ColorConvert::ColorFormat rawFormat = ColorConvert::UNKNOWN;
    std::string rawFile;
    std::string folder = ".";
    int width = 0;
    int height = 0;
    int frames = 0;
    bool whole = false;
    const host::Profile* profile =
        host::findProfile(colorSpaceInfos[ColorConvert::BT601_LIMIT].pxProfile);
};

[[noreturn]] void fail(const std::string& problem) {
    fprintf(stderr, "Error: %s\n", problem.c_str());
    exit(1);
}

ColorConvert::ColorFormat parseFormat(const char* name) {
    const auto format = ColorConvert::getColorFormatFromStr(name);
    if (format == ColorConvert::UNKNOWN) {
        fail(std::string("unknown color format: ") + name);
    }
    return format;
}

int parseNumber(const char* text, const char* what) {
    const int number = parseOptionNumber(text);
    if (number == 0) {
        fail(std::string(what) + " is no number from 1 to 1000000: " + text);
    }
    return number;
}

const host::Profile* parseColorSpace(const std::string& name) {
    for (const ColorSpaceInfo& info : colorSpaceInfos) {
        if (info.name != name) {
            continue;
        }
        if (const host::Profile* profile = host::findProfile(info.pxProfile)) {
            return profile;
        }
        fail("the blit engine knows no profile of " + name);
    }
    fail("unknown color space: " + name);
}

const host::Layout& layoutOf(ColorConvert::ColorFormat format) {
    const host::Layout* layout = host::findLayout(colorFormatInfo(format).pxColor);
    if (layout == nullptr) {
        fail(std::string("the blit engine knows no layout of ") + colorFormatInfo(format).name);
    }
    return *layout;
}

Options parseOptions(int argc, char* argv[]) {
    enum LongOnly { COLORSPACE = 1, WHOLE, HELP };
    constexpr option LONG_OPTIONS[] = {{"format", required_argument, nullptr, 'f'},
                                       {"width", required_argument, nullptr, 'w'},
                                       {"height", required_argument, nullptr, 'h'},
                                       {"output", required_argument, nullptr, 'o'},
                                       {"frames", required_argument, nullptr, 'n'},
                                       {"input", required_argument, nullptr, 'i'},
                                       {"raw-format", required_argument, nullptr, 'r'},
                                       {"colorspace", required_argument, nullptr, COLORSPACE},
                                       {"whole", no_argument, nullptr, WHOLE},
                                       {"help", no_argument, nullptr, HELP},
                                       {nullptr, 0, nullptr, 0}};
    Options options;
    int value = 0;
    while ((value = getopt_long(argc, argv, "f:w:h:o:n:i:r:", LONG_OPTIONS, nullptr)) != -1) {
        switch (value) {
            case 'f':
                options.format = parseFormat(optarg);
                break;
            case 'w':
                options.width = parseNumber(optarg, "the width");
                break;
            case 'h':
                options.height = parseNumber(optarg, "the height");
                break;
            case 'o':
                options.folder = optarg;
                break;
            case 'n':
                options.frames = parseNumber(optarg, "the number of frames");
                break;
            case 'i':
                options.rawFile = optarg;
                break;
            case 'r':
                options.rawFormat = parseFormat(optarg);
                break;
            case COLORSPACE:
                options.profile = parseColorSpace(optarg);
                break;
            case WHOLE:
                options.whole = true;
                break;
            case HELP:
                fputs(USAGE, stdout);
                exit(0);
            default:
                fputs(USAGE, stderr);
                exit(1);
        }
    }
    if (optind != argc) {
        fail(std::string("not an option: ") + argv[optind]);
    }
    if (options.format == ColorConvert::UNKNOWN || options.width == 0 || options.height == 0) {
        fputs("Error: format, width and height are needed\n", stderr);
        fputs(USAGE, stderr);
        exit(1);
    }
    return options;
}

// The frames to write: those of the test pattern, or of a raw file.
class FrameSource {
  public:
    explicit FrameSource(const Options& options)
        : mOptions(options), mFormat(layoutOf(options.format).format) {
        const auto raw = options.rawFormat == ColorConvert::UNKNOWN
                             ? ColorConvert::getDefaultOutputFormat(options.format)
                             : options.rawFormat;
        mRawLayout = &layoutOf(raw);
        if (!mRawLayout->isUnpacked() && !mRawLayout->isPlanar()) {
            fail(
                "raw frames must be in a linear format: NV12, YUV420P, YV12, P010 or an RGB "
                "format");
        }
        mRaw.mWidth = options.width;
        mRaw.mHeight = options.height;
        colorFormatInfo(raw).calculate(mRaw);
        mRawSize = mRawLayout->isPlanar()
                       ? static_cast<size_t>(
                             ColorConvert::getFrameSize(options.width, options.height, raw))
                       : LinearFrame::sizeOf(mRawLayout->format, options.width, options.height);
        mFrames = options.frames == 0 ? 1 : options.frames;
        if (!options.rawFile.empty()) {
            countRawFrames();
        }
    }

    int frames() const { return mFrames; }

    LinearFrame frame(int index) const {
        if (mOptions.rawFile.empty()) {
            return toDumpFormat(drawTestPattern(mOptions.width, mOptions.height, index + 1));
        }
        std::vector<uint8_t> raw(mRawSize);
        const auto size = static_cast<int>(mRawSize);
        if (FileUtils::readFromFile(mOptions.rawFile, raw.data(), size, size, index) != size) {
            fail("can't read frame " + std::to_string(index + 1) + " of " + mOptions.rawFile);
        }
        return toDumpFormat(linearFrameOf(std::move(raw), *mRawLayout, mRaw));
    }

  private:
    void countRawFrames() {
        if (!FileUtils::isFile(mOptions.rawFile)) {
            fail("No such file: " + mOptions.rawFile);
        }
        const int fileSize = FileUtils::getFileSize(mOptions.rawFile);
        if (fileSize < 0) {
            fail("no file of less than 2 GiB: " + mOptions.rawFile);
        }
        const auto bytes = static_cast<size_t>(fileSize);
        const int held = static_cast<int>(bytes / mRawSize);
        mFrames = mOptions.frames == 0 ? held : mOptions.frames;
        if (held == 0 || mFrames > held) {
            fail(mOptions.rawFile + " holds " + std::to_string(held) + " frames of " +
                 std::to_string(mRawSize) + " bytes");
        }
        if (bytes % mRawSize != 0) {
            fprintf(stderr, "Warning: %zu bytes left over, less than a frame of %zu: %s\n",
                    bytes % mRawSize, mRawSize, mOptions.rawFile.c_str());
        }
    }

    LinearFrame toDumpFormat(LinearFrame frame) const {
        return frame.format == mFormat ? std::move(frame)
                                       : convertPicture(frame, mFormat, *mOptions.profile);
    }

    const Options& mOptions;
    host::LinearFormat mFormat;
    const host::Layout* mRawLayout = nullptr;
    ColorConvert::ColorConvertBuffer mRaw;
    size_t mRawSize = 0;  // bytes of a frame
    int mFrames = 0;
};

// Appends to the file, or ends the program.
void append(const std::string& path, const uint8_t* bytes, int size) {
    if (FileUtils::writeToFile(path, bytes, size) != size) {
        fail("can't write " + path);
    }
}

// Writes a new file, which replaces an old one, and prints its name.
void writeNew(const std::string& path, const uint8_t* bytes, int size) {
    remove(path.c_str());
    append(path, bytes, size);
    printf("%s\n", path.c_str());
}

// Says what was written, and how to convert it where no built-in rule decodes its name.
void reportFrames(const Options& options, int frames, bool decoded) {
    fflush(stdout);
    fprintf(stderr, "Wrote %d frame%s\n", frames, frames == 1 ? "" : "s");
    if (decoded) {
        return;
    }
    if (ColorConvert::isSeparate(options.format)) {
        fputs(options.whole ? "No built-in rule decodes whole frames of this format; convert them "
                              "with a rule whose pair says \"Separate\": false\n"
                            : "No built-in rule decodes these files; convert them with a rule\n",
              stderr);
    } else {
        fprintf(stderr, "No built-in rule decodes this format; convert it with -w %d -h %d -f %s\n",
                options.width, options.height, colorFormatInfo(options.format).name);
    }
}

void writeDump(const Options& options) {
    const auto [width, height] =
        ColorConvert::getDefaultAlignedSize(options.width, options.height, options.format);
    const auto output = ColorConvert::getDefaultOutputFormat(options.format);
    if (ColorConvert::getFrameSize(width, height, options.format) < 0 ||
        ColorConvert::getFrameSize(width, height, output) < 0 ||
        ColorConvert::getFrameSize(width, height, ColorConvert::RGBA8888) < 0) {
        fail("a frame is 2 GiB or more");
    }
    const FrameSource source(options);
    const auto parts = options.whole ? std::vector<std::pair<int, int>>()
                                     : ColorConvert::getSeparateSize(width, height, options.format);
    std::error_code error;
    std::filesystem::create_directories(options.folder, error);
    bool decoded = true;
    for (int i = 0; i < source.frames(); ++i) {
        const std::vector<uint8_t> dump = packFrame(source.frame(i), options.format, width, height);
        const DumpName name = nameDump(options.folder, options.format, options.width,
                                       options.height, !parts.empty(), parts.empty() ? 0 : i);
        decoded = name.decoded;
        for (size_t part = 0; part < parts.size(); ++part) {
            writeNew(name.files[part], dump.data() + parts[part].second, parts[part].first);
        }
        if (parts.empty()) {
            const auto write = i == 0 ? writeNew : append;
            write(name.files[0], dump.data(), static_cast<int>(dump.size()));
        }
    }
    reportFrames(options, source.frames(), decoded);
}

}  // namespace

int main(int argc, char* argv[]) {
    exitWhenOutOfMemory();
    writeDump(parseOptions(argc, argv));
    return 0;
}
