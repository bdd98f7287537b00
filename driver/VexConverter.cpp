// The program reads the options, finds the input files and the output folder, and converts one file
// after another.
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "driver/CommandLine.h"
#include "driver/FileConversion.h"
#include "driver/FileJob.h"
#include "driver/OutOfMemory.h"
#include "fileutils/FileUtils.h"

namespace {

// Returns the files of the folder if the only input path is a folder, else those input paths that
// are files. If there are no files, this prints the help text and ends the process.
std::vector<std::string> collectInputFiles(const std::vector<std::string>& inputPaths) {
    std::vector<std::string> files;
    if (inputPaths.empty()) {
        fprintf(stderr, "Error: input file or folder path can NOT be NULL\n");
    } else if (inputPaths.size() == 1 && FileUtils::isDirectory(inputPaths.front())) {
        FileUtils::getFilePathsInDirectory(inputPaths.front(), files);
    } else {
        for (const std::string& path : inputPaths) {
            if (FileUtils::isFile(path)) {
                files.push_back(path);
            }
        }
    }
    if (files.empty()) {
        fprintf(stderr, "Error: no valid input file path\n\n");
        printUsage(1);
    }
    return files;
}

void convertWithCmdline(const std::vector<std::string>& inputFiles, const std::string& outputFolder,
                        const CommandLineOptions& options) {
    fprintf(stderr, "Convert with cmdline arguments\n");
    for (const std::string& path : inputFiles) {
        // Every file has its own job, as in the other mode, although the options are the same.
        FileJob job;
        if (!getFileJobFromCmdline(options, job)) {
            fprintf(stderr, "Error: failed to get convert config from cmdline arguments\n\n");
            printUsage(1);
        }
        convertFile(path, job, outputFolder, options);
    }
}

void convertWithConfig(const std::vector<std::string>& inputFiles, const std::string& outputFolder,
                       const CommandLineOptions& options) {
    SeparateFiles convertedSeparateFiles;
    bool isFirstFile = true;
    for (const std::string& path : inputFiles) {
        FileJob job;
        const ConfigResult result =
            getFileJobFromConfig(path, options, isFirstFile, convertedSeparateFiles, job);
        isFirstFile = false;
        if (result == ConfigResult::JOB) {
            convertFile(path, job, outputFolder, options);
        } else if (result == ConfigResult::FAILED) {
            fprintf(stderr,
                    "Error: failed to get convert config from config file, skip this file: %s\n",
                    path.c_str());
        }
    }
}

void convertAll(const CommandLineOptions& options) {
    const std::vector<std::string> inputFiles = collectInputFiles(options.inputPaths);
    const std::string outputFolder = FileUtils::getFolderPath(
        options.outputPath.empty() ? inputFiles.front() : options.outputPath);
    fprintf(stderr, "Output folder path: %s\n", outputFolder.c_str());
    if (isConfigurationMode(options)) {
        convertWithConfig(inputFiles, outputFolder, options);
    } else {
        convertWithCmdline(inputFiles, outputFolder, options);
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    // A write beyond the limit of file sizes then fails instead of ending the process.
    signal(SIGXFSZ, SIG_IGN);
    exitWhenOutOfMemory();
    convertAll(parseCommandLine(argc, argv));
    return 0;
}
