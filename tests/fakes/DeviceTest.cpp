// Device buffers, the blit job and the conversion of a file, with device libraries that fail when a
// test wants it.
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

using Lines = std::vector<std::string>;

std::string joined(const Lines& lines) {
    std::string all;
    for (const std::string& line : lines) {
        all += (all.empty() ? "" : " ") + line;
    }
    return all;
}

constexpr int FOREIGN_FD = FIRST_FAKE_FD;  // of a buffer that the tool imports

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
        std::string kind, size, importFd, call, entry, empty;
        for (std::string* field : {&kind, &size, &importFd, &call, &entry, &empty}) {
            std::getline(row, *field, ';');
        }
        const std::string tag =
            kind == "ion" ? "VexConverter-IonMemory: " : "VexConverter-DmabufMemory: ";
        const std::string noData = kind == "ion"
                                       ? "IonMemory::data failed to mapVA, mIonDevFd: -1"
                                       : "DmabufMemory::data failed to mapVA, mShareFd: -1";
        mPlatform = FakePlatform();
        mPlatform.failCall = call;
        const bool releaseFails = call == "munmap" || call == "ion_free";
        {
            const auto buffer = make(kind == "ion", stoi(size), stoi(importFd));
            if (entry.back() == '#') {
                entry.replace(entry.size() - 1, 1, std::to_string(buffer->getFd()));
            }
            EXPECT_EQ(buffer->data() != nullptr, releaseFails);
            EXPECT_EQ(buffer->data() != nullptr, releaseFails);
            EXPECT_EQ(buffer->getFd() > 0, releaseFails);
        }
        Lines expected = {tag + entry};
        expected.resize(1 + stoul(empty), tag + noData);
        EXPECT_EQ(mPlatform.log, expected);
        EXPECT_TRUE(mPlatform.held.empty());
    }
}

TEST_F(DeviceTest, BufferCallsAndArguments) {
    const std::string ionRest =
        "ion_share() ion_map(64, 3, 1, 0) munmap(64) close() close() ion_free() ion_close()";
    const std::string mapping = "mmap(64, 3, 1, 0) munmap(64) close()";
    const std::tuple<bool, int, std::string> cases[] = {
        {true, -1, "vx_ion_open(VexConverter) ion_alloc_mm(64, 64, 0) " + ionRest},
        {true, FOREIGN_FD, "vx_ion_open(VexConverter) ion_import() " + ionRest},
        {false, -1,
         "CreateDmabufHeapBufferAllocator() DmabufHeapAlloc(vex_mm-uncached, 64, 0, 0) " + mapping +
             " FreeDmabufHeapBufferAllocator()"},
        {false, FOREIGN_FD, "dup() " + mapping},
        {false, 1, "dup() " + mapping}};
    for (const auto& [ion, importFd, calls] : cases) {
        mPlatform = FakePlatform();
        mPlatform.lowest = importFd == FOREIGN_FD ? 1 : 0;
        mPlatform.held = {"fd " + std::to_string(importFd)};  // its owner closes it
        {
            const auto buffer = make(ion, 64, importFd);
            EXPECT_NE(buffer->getFd(), FOREIGN_FD);
            EXPECT_EQ(buffer->data(), buffer->data());
        }
        EXPECT_EQ(joined(mPlatform.calls), calls);
        EXPECT_EQ(mPlatform.log, Lines());
        EXPECT_EQ(mPlatform.held.size(), 1U);
        mPlatform.held.clear();
    }
    IonMemory ion(64, -1);
    DmabufMemory dmabuf(64, -1);
    EXPECT_EQ(ion.data(), dmabuf.data());
    ion.release();
    dmabuf.release();
    mPlatform.calls.clear();
    ion.release();
    dmabuf.release();
    EXPECT_TRUE(ion.data() == nullptr && dmabuf.data() == nullptr);
    EXPECT_EQ(mPlatform.calls, Lines());
}

ColorConvert::ColorConvertConfig blockToPicture() {
    ColorConvert::ColorConvertConfig config;
    config.mSrc = {ColorConvert::NV12_BLK, ColorConvert::BT709_FULL, 64, 32, 11};
    config.mDst = {ColorConvert::RGBA8888, 99, 64, 32, 12};
    return config;
}

TEST_F(DeviceTest, ConvertFrameCallsInOrder) {
    {
        ColorConvert converter;
        EXPECT_EQ(converter.convertFrame(blockToPicture()), 0);
    }
    EXPECT_EQ(joined(mPlatform.calls),
              "createJob(0, -1) setConfigBegin(42) setSrcBuffer(11, 2048, 1024, 2, -1) "
              "setSrcConfig(64, 32, 2048, 1024, 13434956, 4, 0, 0, 0, 0) "
              "setSrcCrop(0, (0, 0, 64, 32, 0)) setDstBuffer(0, 12, 8192, 0, 1, -1) "
              "setDstConfig(0, 64, 32, 256, 0, 2105378, 0, 0, (0, 0, 64, 32, 0), 0, 0, 0, 0) "
              "setConfigEnd() invalidate(now) sync_wait(-1) close() ~PxAsyncBlitStream()");
}

TEST_F(DeviceTest, ProfilesOfColorSpaces) {
    std::vector<std::string> profiles = {"0"};  // of color space -1
    for (const auto& [name, profile] : table<std::string, std::string>("spaces.txt")) {
        profiles.push_back(profile);
    }
    profiles.emplace_back("0");
    ColorConvert converter;
    for (size_t src = 0, dst = profiles.size(); dst-- > 0; ++src) {
        auto config = blockToPicture();
        config.mSrc.mColorSpace = static_cast<int>(src) - 1;
        config.mDst.mColorSpace = static_cast<int>(dst) - 1;
        mPlatform.calls.clear();
        converter.convertFrame(config);
        EXPECT_EQ(mPlatform.calls.at(3),
                  "setSrcConfig(64, 32, 2048, 1024, 13434956, " + profiles[src] + ", 0, 0, 0, 0)");
        EXPECT_EQ(mPlatform.calls.at(6), "setDstConfig(0, 64, 32, 256, 0, 2105378, " +
                                             profiles[dst] + ", 0, (0, 0, 64, 32, 0), 0, 0, 0, 0)");
    }
}

TEST_F(DeviceTest, FailedFrameLogsOneLineLeaksNothingAndLeavesTheConverterUsable) {
    const std::string prefix = "VexConverter-ColorConvert: ColorConvert::convertFrame ";
    ColorConvert converter;
    for (std::istringstream& row : tableRows("job-failures.txt")) {
        std::string call, line;
        int statusOnly = 0;
        std::getline(row >> call >> statusOnly >> std::ws, line);
        mPlatform.failCall = call;
        mPlatform.statusOnly = statusOnly;
        mPlatform.log.clear();
        EXPECT_EQ(converter.convertFrame(blockToPicture()), -1);
        ASSERT_EQ(mPlatform.log.size(), 1U) << row.str();
        EXPECT_EQ(mPlatform.log[0].rfind(prefix + line, 0), 0U) << mPlatform.log[0];
        EXPECT_EQ(mPlatform.held, std::multiset<std::string>{"stream"});
        mPlatform.failCall = "";
        mPlatform.statusOnly = 0;
        EXPECT_EQ(converter.convertFrame(blockToPicture()), 0);
    }
    mPlatform.log.clear();
    auto unknown = blockToPicture();
    unknown.mSrc.mFormat = ColorConvert::COLOR_FORMAT_COUNT;
    EXPECT_EQ(converter.convertFrame(unknown), -1);
    EXPECT_EQ(mPlatform.log.size(), 1U);
}

class ConvertFileTest : public DeviceTest {
  protected:
    ConvertFileTest() {
        write("in.yuv", std::string(3 * 24, 'x'));  // 3 frames of NV12 4 x 4
        mJob.inputFormat = mJob.outputFormat = ColorConvert::NV12;
        mJob.alignedWidth = mJob.alignedHeight = 4;
    }
    std::string convert() {
        testing::internal::CaptureStderr();
        convertFile(mFolder + "/in.yuv", mJob, mFolder, mOptions);
        return testing::internal::GetCapturedStderr();
    }

    uintmax_t outputSize() const {
        const std::string path = mFolder + "/in_converted.nv12";
        return std::filesystem::exists(path) ? std::filesystem::file_size(path) : 0;
    }

    int removeOutputs() const {
        int removed = 0;
        Lines paths;
        FileUtils::getFilePathsInDirectory(mFolder, paths);
        for (const std::string& path : paths) {
            removed += path.find("_converted") != std::string::npos && remove(path.c_str()) == 0;
        }
        return removed;
    }

    FileJob mJob;
    CommandLineOptions mOptions;
};

TEST_F(ConvertFileTest, ReleasesConverterThenDestinationThenSource) {
    mPlatform.ion = true;
    mJob.outputFormat = ColorConvert::RGBA8888;
    convert();
    const std::string calls = joined(mPlatform.calls);
    EXPECT_EQ(calls.substr(calls.find("~Px")),
              "~PxAsyncBlitStream() munmap(64) close() close() ion_free() ion_close() "
              "munmap(24) close() close() ion_free() ion_close()");
}

TEST_F(ConvertFileTest, DescriptorOneIsABuffer) {
    for (int n = 0; n < 20; ++n) {
        SCOPED_TRACE(n);
        mPlatform = FakePlatform();
        mPlatform.ion = n < 10;
        mPlatform.lowest = n % 10;
        convert();
        EXPECT_EQ(mPlatform.held, std::multiset<std::string>());
        EXPECT_EQ(mPlatform.log, Lines());
        EXPECT_EQ(outputSize(), 24U * 3 * static_cast<size_t>(n + 1));
    }
}

TEST_F(ConvertFileTest, DescriptorZeroIsRefusedAsABuffer) {
    for (const int share : {2, 4}) {
        mPlatform = FakePlatform();
        mPlatform.ion = true;
        mPlatform.lowest = share;
        mPlatform.lowestNumber = 0;
        EXPECT_NE(convert().find("failed to make the device buffers"), std::string::npos) << share;
        mPlatform.opened = share - 1;
        EXPECT_EQ(DmabufMemory(64, share == 2 ? FOREIGN_FD : -1).getFd(), -1) << share;
        mPlatform.held.clear();
    }
}

TEST_F(ConvertFileTest, FailedFrameIsLeftOutAndTheOthersFollow) {
    mPlatform.failCall = "invalidate";
    mPlatform.failOccurrence = 2;
    EXPECT_EQ(convert(), "Process: " + mFolder + "/in.yuv\n" +
                             "\r\x1b[kProcess: frame #1 of 3\r\x1b[kProcess: frame #2 of 3" +
                             "Error: failed to convertFrame\n\r\x1b[kProcess: frame #3 of 3\n");
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
    // Name, job, bytes of a raw frame, bytes of all raw frames, number of output files.
    const std::tuple<std::string, FileJob, size_t, size_t, int> runs[] = {
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
            calls = n == 0 ? mPlatform.canFail() : calls;
            SCOPED_TRACE(name + (mPlatform.ion ? ", ION" : ", DMA-BUF") +
                         ", call that fails: " + std::to_string(n) + " " + mPlatform.failed);
            EXPECT_EQ(mPlatform.held, std::multiset<std::string>()) << printed;
            const size_t before = outputSize();
            EXPECT_EQ(before % frameBytes, 0U);
            convert();
            EXPECT_EQ(mPlatform.held, std::multiset<std::string>());
            EXPECT_EQ(outputSize(), before + allBytes);
            EXPECT_EQ(removeOutputs(), outputs);
        }
        EXPECT_GT(calls, 15);
    }
}

TEST_F(ConvertFileTest, FailingFileCallsHaveOrderlyResults) {
    mPlatform.failCall = "dirname";
    EXPECT_EQ(FileUtils::getFolderPath("/long/file"), "/long/.");
    EXPECT_EQ(FileUtils::getFolderPath("file"), ".");
    mPlatform.failCall = "readdir";
    Lines list;
    FileUtils::getFilePathsInDirectory(mFolder, list);
    FileUtils::getFilePathsInDirectory("missing", list);
    const std::string start =
        "VexConverter-FileUtils: FileUtils::getFilePathsInDirectory failed to ";
    EXPECT_EQ(mPlatform.log, (Lines{start + "readdir " + mFolder + ", errno: 5, Input/output error",
                                    start + "opendir missing"}));
    mPlatform.failCall = "fseek";
    EXPECT_EQ(FileUtils::parseConfigFile(mFolder + "/in.yuv"), -1);
}

}  // namespace
