// File and folder helpers, PNG output and the host's stand-ins below them.
#include <gtest/gtest.h>
#include <ion/ion.h>
#include <ion/ion_vex.h>
#include <stb_image.h>
#include <sync/sync.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "TestFolder.h"
#include "fileutils/FileUtils.h"
#include "memory/DmabufMemory.h"
#include "memory/IonMemory.h"

namespace {

namespace fs = std::filesystem;

class FileUtilsTest : public testing::Test {
  protected:
    FileUtilsTest() {
        fs::remove_all(mFolder);
        fs::create_directories(mFolder + "/sub");
        setenv("VEX_HOST_LOG", (mFolder + "/sub/log").c_str(), 1);
    }
    ~FileUtilsTest() override {
        setenv("VEX_HOST_LOG", "/dev/null", 1);
        fs::remove_all(mFolder);
    }
    std::string make(const std::string& name, const std::string& text) {
        std::ofstream(mFolder + "/" + name) << text;
        return mFolder + "/" + name;
    }
    static std::string textOf(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }
    std::string log() const { return textOf(mFolder + "/sub/log"); }

    const std::string mFolder = testFolder();
};

TEST_F(FileUtilsTest, Paths) {
    const std::string file = make("a.yuv", "12345");
    fs::create_symlink("a.yuv", mFolder + "/link");
    fs::create_symlink("nowhere", mFolder + "/broken");
    const struct {
        std::string path;
        bool isFile, isDirectory;
        int size;
        std::string folder;
    } cases[] = {
        {"", false, false, 0, "."},
        {file, true, false, 5, mFolder},
        {mFolder, false, true, -1, mFolder},
        {mFolder + "/", false, true, -1, mFolder},
        {mFolder + "//", false, true, -1, mFolder + "/"},
        {mFolder + "/link", true, false, 5, mFolder},
        {mFolder + "/broken", false, false, 0, mFolder},
        {mFolder + "/missing/", false, false, 0, mFolder},
        {"missing.yuv", false, false, 0, "."},
        {"/missing", false, false, 0, "/"},
        {"/", false, true, -1, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FileUtils::isFile(c.path), c.isFile) << c.path;
        EXPECT_EQ(FileUtils::isDirectory(c.path), c.isDirectory) << c.path;
        EXPECT_EQ(FileUtils::getFolderPath(c.path), c.folder) << c.path;
        if (c.size >= 0) {
            EXPECT_EQ(FileUtils::getFileSize(c.path), c.size) << c.path;
        }
    }
    const std::string large = make("large", "");
    fs::resize_file(large, 0x80000000U);
    EXPECT_EQ(FileUtils::getFileSize(large), -EFBIG);
    fs::resize_file(large, 0x7FFFFFFFU);
    EXPECT_EQ(FileUtils::getFileSize(large), 0x7FFFFFFF);
}

TEST_F(FileUtilsTest, FolderListing) {
    make("b", "");
    make(".hidden", "");
    fs::create_symlink("nowhere", mFolder + "/broken");
    for (const std::string& folder : {mFolder, mFolder + "/"}) {
        std::vector<std::string> list = {"first"};
        FileUtils::getFilePathsInDirectory(folder, list);
        std::sort(list.begin() + 1, list.end());
        EXPECT_EQ(list, (std::vector<std::string>{"first", mFolder + "/.hidden", mFolder + "/b"}));
    }
    std::vector<std::string> list;
    FileUtils::getFilePathsInDirectory(mFolder + "/missing", list);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(log(),
              "E VexConverter-FileUtils: FileUtils::getFilePathsInDirectory failed to "
              "opendir " +
                  mFolder + "/missing\n");
}

TEST_F(FileUtilsTest, ReadsFramesAtTheirOffsets) {
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        text += static_cast<char>(i % 251);
    }
    const std::string file = make("frames", text);
    const struct {
        int size, stride, count, bytes;
        size_t start;
    } cases[] = {{100, 100, 3, 100, 300},
                 {100, 100, 20, 0, 0},
                 {100, 0, 3, 100, 0},
                 {100, 100, 0, 100, 0},
                 {100, 950, 1, 50, 950},
                 {1000, 0, 0, 1000, 0},
                 {100, 0x7FFFFFFF, 0x7FFFFFFF, 0, 0}};
    for (const auto& c : cases) {
        unsigned char buffer[1000];
        memset(buffer, 0xEE, sizeof buffer);
        EXPECT_EQ(FileUtils::readFromFile(file, buffer, c.size, c.stride, c.count), c.bytes);
        EXPECT_EQ(memcmp(buffer, text.data() + c.start, static_cast<size_t>(c.bytes)), 0);
        EXPECT_TRUE(c.bytes == 1000 || buffer[c.bytes] == 0xEE);
    }
    unsigned char byte = 0;
    EXPECT_EQ(FileUtils::readFromFile(mFolder + "/no\nfile", &byte, 1, 0, 0), -ENOENT);
    EXPECT_EQ(log(), "E VexConverter-FileUtils: readFromFile: Failed to open file: " + mFolder +
                         "/no\\nfile, errno: 2, No such file or directory\n");
}

TEST_F(FileUtilsTest, WritingAppends) {
    const std::string file = mFolder + "/out";
    const auto* text = reinterpret_cast<const unsigned char*>("abcdef");
    EXPECT_EQ(FileUtils::writeToFile(file, text, 6), 6);
    EXPECT_EQ(FileUtils::writeToFile(file, text, 2), 2);
    EXPECT_EQ(textOf(file), "abcdefab");
    EXPECT_EQ(FileUtils::writeToFile(mFolder, text, 2), -EISDIR);
    EXPECT_EQ(log(), "E VexConverter-FileUtils: writeToFile: Failed to open file: " + mFolder +
                         ", errno: 21, Is a directory\n");
}

TEST_F(FileUtilsTest, PngHoldsThePixels) {
    const std::string file = mFolder + "/out.png";
    unsigned char pixels[16];
    for (int round = 0; round < 2; ++round) {
        for (size_t i = 0; i < sizeof pixels; ++i) {
            pixels[i] = static_cast<unsigned char>(i * 16 + static_cast<size_t>(round));
        }
        EXPECT_EQ(FileUtils::writeToPNG(file, 2, 2, pixels, 4), 1);
    }
    int width = 0;
    int height = 0;
    int components = 0;
    unsigned char* read = stbi_load(file.c_str(), &width, &height, &components, 0);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(std::tuple(width, height, components), std::tuple(2, 2, 4));
    EXPECT_EQ(memcmp(read, pixels, sizeof pixels), 0);
    stbi_image_free(read);
    EXPECT_EQ(FileUtils::writeToPNG(mFolder + "/missing/out.png", 2, 2, pixels, 4), 0);
    EXPECT_EQ(FileUtils::writeToPNG(file, 40000, 40000, pixels, 4), 0);
    EXPECT_EQ(log(), "");
}

size_t openDescriptors() {
    const fs::directory_iterator all("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

TEST(HostMemory, BuffersShareTheirBytesAndLeakNoDescriptor) {
    const size_t before = openDescriptors();
    {
        IonMemory ion(5000, -1);
        IonMemory imported(5000, ion.getFd());
        DmabufMemory dmabuf(5000, ion.getFd());
        DmabufMemory fresh(5000, -1);
        ASSERT_NE(ion.data(), nullptr);
        ion.data()[4999] = 77;
        EXPECT_EQ(imported.data()[4999], 77);
        EXPECT_EQ(dmabuf.data()[4999], 77);
        EXPECT_EQ(fresh.data()[4999], 0);
        EXPECT_NE(imported.getFd(), ion.getFd());
        const int device = vx_ion_open("test");
        ion_user_handle_t handle = 0;
        EXPECT_EQ(ion_alloc_mm(device, 100, 64, 0, &handle), 0);
        EXPECT_LT(ion_free(device, handle + 1), 0);
        EXPECT_EQ(ion_close(device), 0) << "with a handle left";
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST(HostSync, WaitsForTheSignal) {
    const int fence = eventfd(0, EFD_CLOEXEC);
    EXPECT_EQ(sync_wait(fence, 1), -1);
    EXPECT_EQ(errno, ETIME);
    eventfd_write(fence, 1);
    EXPECT_EQ(sync_wait(fence, -1), 0);
    close(fence);
    EXPECT_EQ(sync_wait(fence, -1), -1);
}

}  // namespace
