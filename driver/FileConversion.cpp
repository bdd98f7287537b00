#include "driver/FileConversion.h"

#include <BufferAllocator/BufferAllocator.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

#include "fileutils/FileUtils.h"
#include "memory/DmabufMemory.h"
#include "memory/IonMemory.h"

namespace {

std::shared_ptr<DeviceMemory> makeBuffer(bool ion, int size) {
    if (ion) {
        return std::make_shared<IonMemory>(size, DeviceMemory::NO_FD);
    }
    return std::make_shared<DmabufMemory>(size, DeviceMemory::NO_FD);
}

// Returns the file's name without folder and extension. It looks for the extension in the name
// alone, because a folder's name may have a dot too.
std::string baseNameOf(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);  // npos + 1 is 0
    return name.substr(0, name.rfind('.'));
}

// Reads a frame of size bytes from the file. index is the frame's number, which counts from 0. If
// the file is too short or can't be read, this clears the rest of the buffer, which may hold bytes
// of an earlier file.
void readFrame(unsigned char* buffer, int size, const std::string& path, int index) {
    const int bytes = std::max(0, FileUtils::readFromFile(path, buffer, size, size, index));
    memset(buffer + bytes, 0, static_cast<size_t>(size - bytes));
}

// Converts one file. It owns the buffers and the converter.
class Conversion {
  public:
    Conversion(const std::string& path, const FileJob& job, const std::string& outputFolder,
               const CommandLineOptions& options)
        : mPath(path),
          mJob(job),
          mOptions(options),
          mOutputFolder(outputFolder),
          mSrcSize(frameSize(job.inputFormat)),
          mDstSize(frameSize(job.outputFormat)) {}

    void run() {
        if (mSrcSize < 0 || mDstSize < 0) {
            report("frame size is out of range, 0 to 2 GiB");
            return;
        }
        const int fileSize = FileUtils::getFileSize(mPath);
        if (!mJob.separate && fileSize < 0) {
            report("file is too large, 2 GiB or more");
            return;
        }
        const bool ion = BufferAllocator::CheckIonSupport();
        mSrc = makeBuffer(ion, mSrcSize);
        mDst = makeBuffer(ion, mDstSize);
        mSrcFd = mSrc->getFd();
        mDstFd = mDst->getFd();
        mConverter = std::make_shared<ColorConvert>();
        if (mJob.separate) {
            convertSeparate();
        } else if (holdsSeveralFrames(fileSize, mSrcSize)) {
            convertFrames(mSrcSize == 0 ? 0 : fileSize / mSrcSize);
        } else if (mapBuffers()) {
            readFrame(mSrc->data(), mSrcSize, mPath, 0);
            convertAndWrite(0);
        }
    }

  private:
    int frameSize(ColorConvert::ColorFormat format) const {
        return ColorConvert::getFrameSize(mJob.alignedWidth, mJob.alignedHeight, format);
    }

    void report(const char* problem) const {
        fprintf(stderr, "Error: %s, skip this file: %s\n", problem, mPath.c_str());
    }

    // The first call of data() maps a buffer.
    bool mapBuffers() {
        if (DeviceMemory::isOpen(mSrcFd) && mSrc->data() != nullptr &&
            DeviceMemory::isOpen(mDstFd) && mDst->data() != nullptr) {
            return true;
        }
        report("failed to make the device buffers");
        return false;
    }

    void convertSeparate() {
        const auto parts =
            ColorConvert::getSeparateSize(mJob.alignedWidth, mJob.alignedHeight, mJob.inputFormat);
        const std::string* const files[] = {&mJob.yBodyFile, &mJob.yHeaderFile, &mJob.cBodyFile,
                                            &mJob.cHeaderFile};
        if (parts.size() != std::size(files)) {
            report("input color format has no separate parts");
            return;
        }
        if (!mapBuffers()) {
            return;
        }
        for (size_t i = 0; i < parts.size(); ++i) {
            const auto [size, offset] = parts[i];
            readFrame(mSrc->data() + offset, size, *files[i], 0);
        }
        convertAndWrite(0);
    }

    // There are no frames, and no buffers, if a rule aligns the size to 0.
    void convertFrames(int frames) {
        if (frames > 0 && !mapBuffers()) {
            return;
        }
        for (int i = 0; i < frames; ++i) {
            // The program's interface has a lower-case k here, although K is what clears a line.
            fprintf(stderr, "\r\033[kProcess: frame #%d of %d", i + 1, frames);
            readFrame(mSrc->data(), mSrcSize, mPath, i);
            convertAndWrite(i + 1);
        }
        fprintf(stderr, "\n");
    }

    // getOutputPath says what frame is.
    void convertAndWrite(int frame) {
        const int32_t width = mJob.alignedWidth;
        const int32_t height = mJob.alignedHeight;
        const ColorConvert::ColorConvertConfig config = {
            {mJob.inputFormat, mOptions.inputColorSpace, width, height, mSrcFd},
            {mJob.outputFormat, mOptions.outputColorSpace, width, height, mDstFd}};
        if (mConverter->convertFrame(config) < 0) {
            fprintf(stderr, "Error: failed to convertFrame\n");
            return;
        }
        const std::string name =
            getOutputPath(mPath, mJob.outputFormat, mOutputFolder, mOptions.png, frame);
        if (mOptions.png) {
            FileUtils::writeToPNG(name, width, height, mDst->data(), 4);
        } else {
            FileUtils::writeToFile(name, mDst->data(), mDstSize);
        }
    }

    const std::string& mPath;
    const FileJob& mJob;
    const CommandLineOptions& mOptions;
    const std::string& mOutputFolder;
    const int mSrcSize;  // bytes of a frame, negative if out of range
    const int mDstSize;
    int32_t mSrcFd = DeviceMemory::NO_FD;
    int32_t mDstFd = DeviceMemory::NO_FD;
    // These are released in reverse order: the converter, the destination, the source.
    std::shared_ptr<DeviceMemory> mSrc;
    std::shared_ptr<DeviceMemory> mDst;
    std::shared_ptr<ColorConvert> mConverter;
};

}  // namespace

std::string getOutputPath(const std::string& path, ColorConvert::ColorFormat outputFormat,
                          const std::string& outputFolder, bool png, int frame) {
    const std::string stem = outputFolder + "/" + baseNameOf(path) + "_converted";
    if (!png) {
        return stem + "." + ColorConvert::getExtensionName(outputFormat);
    }
    return stem + (frame == 0 ? "" : "_frame#" + std::to_string(frame)) + ".png";
}

void convertFile(const std::string& path, const FileJob& job, const std::string& outputFolder,
                 const CommandLineOptions& options) {
    fprintf(stderr, "Process: %s\n", path.c_str());
    Conversion(path, job, outputFolder, options).run();
}
