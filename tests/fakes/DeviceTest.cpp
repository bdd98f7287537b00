// These tests check device buffers, the blit job and the conversion of a file, with device
// libraries that fail when a test wants it.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "../TestFiles.h"
#include "FakePlatform.h"
#include "color/ColorConvert.h"
#include "driver/FileConversion.h"
#include "fileutils/FileUtils.h"
#include "memory/DmabufMemory.h"
#include "memory/IonMemory.h"

namespace {

class DeviceTest : public FolderTest {
  protected:
    DeviceTest() { fakePlatform = &mPlatform; }
    ~DeviceTest() override {
        EXPECT_TRUE(mPlatform.held.empty()) << *mPlatform.held.begin();
        fakePlatform = nullptr;
    }

    std::unique_ptr<DeviceMemory> make(bool ion, int size, int importFd) {
        if (ion) {
            return std::make_unique<IonMemory>(size, importFd);
        }
        return std::make_unique<DmabufMemory>(size, importFd);
    }

    FakePlatform mPlatform;
};

TEST_F(DeviceTest, FailingCallLogsItsLineAndLeavesAnEmptyBuffer) {
    for (std::istringstream& row : tableRows("buffer-failures.txt")) {
        SCOPED_TRACE(row.str());
        std::string kind, call, entry;
        int size = 0, importFd = 0, empty = 0;
        std::getline(row >> kind >> size >> importFd >> call >> empty >> std::ws, entry);
        const bool ion = kind == "IonMemory";
        mPlatform = FakePlatform();
        mPlatform.failCall = call;
        {
            const auto buffer = make(ion, size, importFd);
            EXPECT_EQ(buffer->data() != nullptr, empty == 0);
            EXPECT_EQ(buffer->data() != nullptr, empty == 0);
            EXPECT_EQ(buffer->getFd() > 0, empty == 0);
        }
        std::string expected = "VexConverter-" + kind + ": " + entry + "\n";
        for (; empty > 0; --empty) {
            expected += "VexConverter-" + kind + ": " + kind + "::data failed to mapVA, " +
                        (ion ? "mIonDevFd: -1\n" : "mShareFd: -1\n");
        }
        EXPECT_EQ(mPlatform.log, expected);
        EXPECT_TRUE(mPlatform.held.empty());
    }
}

// Descriptor 1 may be that of a buffer, 0 may not.
TEST_F(DeviceTest, BufferCallsAndArguments) {
    const std::string ionRest =
        "ion_share() ion_map(64, 3, 1, 0) munmap(64) close() close() ion_free() ion_close() ";
    const std::string mapping = "mmap(64, 3, 1, 0) munmap(64) close() ";
    const std::tuple<bool, int, std::string> cases[] = {
        {true, 0, "vx_ion_open(VexConverter) ion_alloc_mm(64, 64, 0) " + ionRest},
        {true, 1, "vx_ion_open(VexConverter) ion_import() " + ionRest},
        {false, 0,
         "CreateDmabufHeapBufferAllocator() DmabufHeapAlloc(vex_mm-uncached, 64, 0, 0) " + mapping +
             "FreeDmabufHeapBufferAllocator() "},
        {false, 1, "dup() " + mapping}};
    for (const auto& [ion, importFd, calls] : cases) {
        mPlatform = FakePlatform();
        mPlatform.held = {"fd " + std::to_string(importFd)};  // its owner closes it
        {
            const auto buffer = make(ion, 64, importFd);
            EXPECT_NE(buffer->getFd(), importFd);
            EXPECT_EQ(buffer->data(), buffer->data());
        }
        EXPECT_EQ(mPlatform.calls, calls);
        EXPECT_EQ(mPlatform.log, "");
        EXPECT_EQ(mPlatform.held.size(), 1U);
        mPlatform.held.clear();
    }
    IonMemory ion(64, -1);
    DmabufMemory dmabuf(64, -1);
    EXPECT_EQ(ion.data(), dmabuf.data());
    ion.release();
    dmabuf.release();
    EXPECT_TRUE(ion.data() == nullptr && dmabuf.data() == nullptr);
    // Their destructors release them once more.
}

ColorConvert::ColorConvertConfig blockToPicture() {
    ColorConvert::ColorConvertConfig config;
    config.mSrc = {ColorConvert::NV12_BLK, ColorConvert::BT709_FULL, 64, 32, 11};
    config.mDst = {ColorConvert::RGBA8888, 99, 64, 32, 12};
    return config;
}

TEST_F(DeviceTest, ConvertFrameCallsInOrder) {
    std::vector<std::string> profiles = {"0"};  // of color space -1
    for (const auto& [name, profile] : table<std::string, std::string>("spaces.txt")) {
        profiles.push_back(profile);
    }
    profiles.emplace_back("0");
    for (size_t src = 0, dst = profiles.size(); dst-- > 0; ++src) {
        auto config = blockToPicture();
        config.mSrc.mColorSpace = static_cast<int>(src) - 1;
        config.mDst.mColorSpace = static_cast<int>(dst) - 1;
        mPlatform.calls.clear();
        EXPECT_EQ(ColorConvert().convertFrame(config), 0);
        EXPECT_EQ(
            mPlatform.calls,
            "createJob(0, -1) setConfigBegin(42) setSrcBuffer(11, 2048, 1024, 2, -1) "
            "setSrcConfig(64, 32, 2048, 1024, 13434956, " +
                profiles[src] +
                ", 0, 0, 0, 0) setSrcCrop(0, (0, 0, 64, 32, 0)) "
                "setDstBuffer(0, 12, 8192, 0, 1, -1) setDstConfig(0, 64, 32, 256, 0, 2105378, " +
                profiles[dst] +
                ", 0, (0, 0, 64, 32, 0), 0, 0, 0, 0) setConfigEnd() invalidate(now) "
                "sync_wait(-1) close() ~PxAsyncBlitStream() ");
    }
}

TEST_F(DeviceTest, FailedFrameLogsOneLineLeaksNothingAndLeavesTheConverterUsable) {
    ColorConvert converter;
    for (std::istringstream& row : tableRows("job-failures.txt")) {
        std::string call, entry;
        std::getline(row >> call >> std::ws, entry);
        mPlatform.failCall = call;
        mPlatform.log.clear();
        EXPECT_EQ(converter.convertFrame(blockToPicture()), -1) << call;
        EXPECT_EQ(mPlatform.log,
                  "VexConverter-ColorConvert: ColorConvert::convertFrame " + entry + "\n");
        EXPECT_EQ(mPlatform.held, std::multiset<std::string>{"stream"}) << call;
        mPlatform.failCall = "";
        EXPECT_EQ(converter.convertFrame(blockToPicture()), 0) << call;
    }
    mPlatform.failNth = mPlatform.canFail + 1;
    EXPECT_EQ(converter.convertFrame(blockToPicture()), -1) << "createJob, which gives a fence too";
    EXPECT_EQ(mPlatform.held, std::multiset<std::string>{"stream"});
    mPlatform.log.clear();
    auto unknown = blockToPicture();
    unknown.mSrc.mFormat = ColorConvert::COLOR_FORMAT_COUNT;
    EXPECT_EQ(converter.convertFrame(unknown), -1);
    EXPECT_NE(mPlatform.log.find("no planes for format 18 to 2, 64 x 32\n"), std::string::npos);
}

class ConvertFileTest : public DeviceTest {
  protected:
    ConvertFileTest() {
        write("in.yuv", std::string(3 * 24, 'x'));  // 3 frames of NV12 4 x 4
        mJob.inputFormat = mJob.outputFormat = ColorConvert::NV12;
        mJob.alignedWidth = mJob.alignedHeight = 4;
    }
    std::string convert() {
        std::filesystem::create_directory(mOutputs);
        testing::internal::CaptureStderr();
        convertFile(mFolder + "/in.yuv", mJob, mOutputs, mOptions);
        return testing::internal::GetCapturedStderr();
    }

    uintmax_t outputSize() const {
        const std::string path = mOutputs + "/in_converted.nv12";
        return std::filesystem::exists(path) ? std::filesystem::file_size(path) : 0;
    }

    FileJob mJob;
    CommandLineOptions mOptions;
    const std::string mOutputs = mFolder + "/outputs";
};

TEST_F(ConvertFileTest, ReleasesConverterThenDestinationThenSource) {
    mPlatform.ion = true;
    mJob.outputFormat = ColorConvert::RGBA8888;
    convert();
    EXPECT_EQ(mPlatform.calls.substr(mPlatform.calls.find("~Px")),
              "~PxAsyncBlitStream() munmap(64) close() close() ion_free() ion_close() "
              "munmap(24) close() close() ion_free() ion_close() ");
}

TEST_F(ConvertFileTest, FailedFrameIsLeftOutAndTheOthersFollow) {
    mPlatform.failNth = 25;
    EXPECT_EQ(convert(), "Process: " + mFolder + "/in.yuv\n" +
                             "\r\x1b[kProcess: frame #1 of 3\r\x1b[kProcess: frame #2 of 3" +
                             "Error: failed to convertFrame\n\r\x1b[kProcess: frame #3 of 3\n");
    EXPECT_EQ(mPlatform.failed, "invalidate");
    EXPECT_EQ(outputSize(), 2U * 24);
}

// Whatever call fails, the tool releases all resources, writes whole frames only, and converts the
// next file.
TEST_F(ConvertFileTest, AnyFailingCallLosesNothingElse) {
    for (const char* part : {"y", "yh", "c", "ch"}) {
        write(part, std::string(4096, part[0]));
    }
    FileJob picture = mJob;
    picture.outputFormat = ColorConvert::RGBA8888;
    const FileJob parts = {
        ColorConvert::CPQ, ColorConvert::NV12, 32, 32, true, mFolder + "/y", mFolder + "/yh",
        mFolder + "/c",    mFolder + "/ch"};
    // A row has name, job, bytes of a raw frame, bytes of all raw frames, number of output files.
    const std::tuple<std::string, FileJob, size_t, size_t, unsigned> runs[] = {
        {"raw frames", mJob, 24, 72, 1},
        {"pictures", picture, 1, 0, 3},
        {"parts", parts, 1536, 1536, 1}};
    for (int i = 0; i < 6; ++i) {
        const auto& [name, job, frameBytes, allBytes, outputs] = runs[i / 2];
        mJob = job;
        mOptions.png = name == "pictures";
        int calls = 0;
        for (int n = 0; n <= calls; ++n) {  // n = 0: no call fails
            mPlatform = FakePlatform();
            mPlatform.ion = i % 2 == 1;
            mPlatform.failNth = n;
            const std::string printed = convert();
            calls = n == 0 ? mPlatform.canFail : calls;
            SCOPED_TRACE(name + (mPlatform.ion ? ", ION" : ", DMA-BUF") +
                         ", call that fails: " + std::to_string(n) + " " + mPlatform.failed);
            EXPECT_EQ(mPlatform.held, std::multiset<std::string>()) << printed;
            const size_t before = outputSize();
            EXPECT_EQ(before % frameBytes, 0U);
            convert();
            EXPECT_EQ(mPlatform.held, std::multiset<std::string>());
            EXPECT_EQ(outputSize(), before + allBytes);
            EXPECT_EQ(std::filesystem::remove_all(mOutputs), outputs + 1U);
        }
        EXPECT_GT(calls, 15);
    }
}

TEST_F(ConvertFileTest, FailingFileCallsHaveOrderlyResults) {
    mPlatform.failCall = "dirname";
    EXPECT_EQ(FileUtils::getFolderPath("/long/file"), "/long/.");
    EXPECT_EQ(FileUtils::getFolderPath("file"), ".");
    mPlatform.failCall = "readdir";
    std::vector<std::string> list;
    FileUtils::getFilePathsInDirectory(mFolder, list);
    FileUtils::getFilePathsInDirectory("missing", list);
    const std::string start =
        "VexConverter-FileUtils: FileUtils::getFilePathsInDirectory failed to ";
    EXPECT_EQ(mPlatform.log, start + "readdir " + mFolder + ", errno: 5, Input/output error\n" +
                                 start + "opendir missing\n");
}

// A frame is written in one call, and in more if that is short. If a call fails, the part that was
// written is cut off, but not if others have written meanwhile.
TEST_F(DeviceTest, FramesAreWrittenWholeAndOthersBytesStay) {
    const std::string path = mFolder + "/out";
    const std::string start = "VexConverter-FileUtils: writeToFile: ";
    const std::string left =
        start + "Left a part of a frame in file: " + path + ", which others write to\n" + start;
    const std::string failed = "Failed to write file: " + path + ", ";
    const std::string full = " of 6 bytes, errno: 28, No space left on device\n";
    // The first text has a character for each call of write. A digit is the number of bytes that
    // the call writes. i means that it is interrupted, s that there is no space, and o that others
    // write before it.
    const std::tuple<std::string, std::string, int, std::string> cases[] = {
        {"6", "old-FRAME2", 6, ""},
        {"i6", "old-FRAME2", 6, ""},
        {"24", "old-FRAME2", 6, ""},
        {"30", "old-", 3, start + failed + "3 of 6 bytes, errno: 0, Success\n"},
        {"s", "old-", 0, start + failed + "0" + full},
        {"3s", "old-", 3, start + failed + "3" + full},
        {"3os", "old-FRAothers", 3, left + failed + "3" + full},
        {"2o2s", "old-FRothersAM", 4, left + failed + "4" + full},
    };
    for (const auto& [calls, file, result, log] : cases) {
        SCOPED_TRACE(calls);
        write("out", "old-");
        mPlatform.log.clear();
        size_t call = 0;
        mPlatform.write = [&, &steps = calls] {
            if (steps.at(call) == 'o') {
                std::ofstream(path, std::ios::app) << "others";
                ++call;
            }
            const char step = steps.at(call++);
            return step == 'i' ? -EINTR : step == 's' ? -ENOSPC : step - '0';
        };
        const auto* frame = reinterpret_cast<const unsigned char*>("FRAME2");
        EXPECT_EQ(FileUtils::writeToFile(path, frame, 6), result);
        EXPECT_EQ(call, calls.size());
        EXPECT_EQ(readFile(path), file);
        EXPECT_EQ(mPlatform.log, log);
    }
}

}  // namespace
