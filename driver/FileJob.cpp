#include "driver/FileJob.h"

#include <cstdio>
#include <optional>

#include "fileutils/FileUtils.h"

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

bool checkMatch(const FormatConfig& match, ColorConvert::ColorFormat format) {
    bool usable = true;
    if (match.width < 1) {
        fprintf(stderr, "Error: match width <= 0, width: %d\n", match.width);
        usable = false;
    }
    if (match.height < 1) {
        fprintf(stderr, "Error: match height <= 0, height: %d\n", match.height);
        usable = false;
    }
    if (format == ColorConvert::UNKNOWN) {
        fprintf(stderr, "Error: unknown match input color format\n");
        usable = false;
    }
    if (!ColorConvert::checkPlatformSupport(format)) {
        fprintf(stderr, "Error: unsupported match input color format on this platform\n");
        usable = false;
    }
    return usable;
}

}  // namespace

bool isConfigurationMode(const CommandLineOptions& options) {
    return options.width < 1 && options.height < 1 && options.inputFormat == ColorConvert::UNKNOWN;
}

bool getFileJobFromCmdline(const CommandLineOptions& options, FileJob& job) {
    bool usable = true;
    if (options.width <= 0) {
        fprintf(stderr, "Error: width <= 0, width: %d\n", options.width);
        usable = false;
    }
    if (options.height <= 0) {
        fprintf(stderr, "Error: height <= 0, height: %d\n", options.height);
        usable = false;
    }
    if (options.inputFormat == ColorConvert::UNKNOWN) {
        fprintf(stderr, "Error: unknown input frame color format\n");
        usable = false;
    } else if (ColorConvert::isSeparate(options.inputFormat)) {
        fprintf(stderr, "Error: unsupported separate frame using cmdline arguments\n");
        usable = false;
    }
    if (!ColorConvert::checkPlatformSupport(options.inputFormat)) {
        fprintf(stderr, "Error: unsupported input color format on this platform\n");
        usable = false;
    }
    if (!usable) {
        return false;
    }
    job.inputFormat = options.inputFormat;
    job.outputFormat = outputFormatFor(options.inputFormat, options.png);
    const auto [width, height] =
        ColorConvert::getDefaultAlignedSize(options.width, options.height, options.inputFormat);
    job.alignedWidth = width;
    job.alignedHeight = height;
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
    if (!checkMatch(*match, job.inputFormat)) {
        return ConfigResult::FAILED;
    }
    if (!aligned) {
        fprintf(stderr, "Error: match size %d x %d can't be aligned to %d x %d\n", match->width,
                match->height, match->widthAlignment, match->heightAlignment);
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
