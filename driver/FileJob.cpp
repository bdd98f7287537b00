#include "driver/FileJob.h"

#include <cstdarg>
#include <cstdio>
#include <optional>
#include <tuple>

#include "fileutils/FileUtils.h"

// config/FormatConfig.h declares the rules in use, but they belong to the driver.
std::vector<FormatConfig> formatConfigs;

namespace {

ColorConvert::ColorFormat outputFormatFor(ColorConvert::ColorFormat inputFormat, bool png) {
    return png ? ColorConvert::RGBA8888 : ColorConvert::getDefaultOutputFormat(inputFormat);
}

void loadRules(const std::string& configFilePath) {
    if (configFilePath.empty()) {
        fprintf(stderr, "No config file specified, using default config\n");
    } else {
        fprintf(stderr, "Config file path: %s\n", configFilePath.c_str());
    }
    if (FileUtils::parseConfigFile(configFilePath) < 0) {
        fprintf(stderr, "Error: failed to parse config file\n");
    }
}

// Prints the error if the condition is false, and returns the condition.
[[gnu::format(printf, 2, 3)]] bool check(bool condition, const char* error, ...) {
    if (!condition) {
        va_list values;
        va_start(values, error);
        vfprintf(stderr, error, values);
        va_end(values);
    }
    return condition;
}

// Makes all checks, so that the user sees every reason.
bool checkMatch(const FormatConfig& match, ColorConvert::ColorFormat format) {
    bool usable = check(match.width >= 1, "Error: match width <= 0, width: %d\n", match.width);
    usable &= check(match.height >= 1, "Error: match height <= 0, height: %d\n", match.height);
    usable &= check(format != ColorConvert::UNKNOWN, "Error: unknown match input color format\n");
    usable &= check(ColorConvert::checkPlatformSupport(format),
                    "Error: unsupported match input color format on this platform\n");
    return usable;
}

}  // namespace

bool isConfigurationMode(const CommandLineOptions& options) {
    return options.width < 1 && options.height < 1 && options.inputFormat == ColorConvert::UNKNOWN;
}

bool getFileJobFromCmdline(const CommandLineOptions& options, FileJob& job) {
    const ColorConvert::ColorFormat format = options.inputFormat;
    bool usable = check(options.width > 0, "Error: width <= 0, width: %d\n", options.width);
    usable &= check(options.height > 0, "Error: height <= 0, height: %d\n", options.height);
    usable &= check(format != ColorConvert::UNKNOWN, "Error: unknown input frame color format\n");
    usable &= check(!ColorConvert::isSeparate(format),
                    "Error: unsupported separate frame using cmdline arguments\n");
    usable &= check(ColorConvert::checkPlatformSupport(format),
                    "Error: unsupported input color format on this platform\n");
    if (!usable) {
        return false;
    }
    job.inputFormat = format;
    job.outputFormat = outputFormatFor(format, options.png);
    std::tie(job.alignedWidth, job.alignedHeight) =
        ColorConvert::getDefaultAlignedSize(options.width, options.height, format);
    return true;
}

bool getFileJobFromMatch(const FormatConfig& match, bool png, FileJob& job) {
    const int64_t width = ColorConvert::roundUp(match.width, match.widthAlignment);
    const int64_t height = ColorConvert::roundUp(match.height, match.heightAlignment);
    job.alignedWidth = static_cast<int32_t>(width);
    job.alignedHeight = static_cast<int32_t>(height);
    job.inputFormat = ColorConvert::getColorFormatFromStr(match.colorFormat);
    job.outputFormat = outputFormatFor(job.inputFormat, png);
    job.separate = match.separate;
    job.yBodyFile = match.yBodyFile;
    job.yHeaderFile = match.yHeaderFile;
    job.cBodyFile = match.cBodyFile;
    job.cHeaderFile = match.cHeaderFile;
    return job.alignedWidth == width && job.alignedHeight == height;
}

ConfigResult getFileJobFromConfig(const std::string& path, const CommandLineOptions& options,
                                  bool isFirstFile, SeparateFiles& convertedSeparateFiles,
                                  FileJob& job) {
    if (formatConfigs.empty()) {
        loadRules(options.configFilePath);
    }
    if (isFirstFile) {
        fprintf(stderr, "Convert with arguments parsed from config file\n");
    }
    const std::optional<FormatConfig> match = findMatch(path);
    if (!match) {
        fprintf(stderr, "Error: failed to match: %s\n", path.c_str());
        return ConfigResult::FAILED;
    }
    const bool aligned = getFileJobFromMatch(*match, options.png, job);
    if (!checkMatch(*match, job.inputFormat) ||
        !check(aligned, "Error: match size %d x %d can't be aligned to %d x %d\n", match->width,
               match->height, match->widthAlignment, match->heightAlignment)) {
        return ConfigResult::FAILED;
    }
    if (job.separate) {
        if (convertedSeparateFiles.count(path) > 0) {
            return ConfigResult::ALREADY_CONVERTED;
        }
        convertedSeparateFiles.insert(
            {job.yBodyFile, job.yHeaderFile, job.cBodyFile, job.cHeaderFile});
    }
    return ConfigResult::JOB;
}
