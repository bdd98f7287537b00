// These tests check files and folders, and the host's log and device memory.
#include "fileutils/FileUtils.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <memory>

#include "TestFiles.h"
#include "memory/DmabufMemory.h"
#include "memory/IonMemory.h"

namespace {

namespace fs = std::filesystem;

class FileUtilsTest : public FolderTest {
  protected:
    FileUtilsTest() { setenv("VEX_HOST_LOG", (mFolder + "/log").c_str(), 1); }
    ~FileUtilsTest() override { setenv("VEX_HOST_LOG", "/dev/null", 1); }

    // Returns the log's entry without its time, and empties the log.
    std::string takeLog() const {
        const std::string entry = readFile(mFolder + "/log");
        fs::remove(mFolder + "/log");
        return entry.substr(std::min<size_t>(24, entry.size()));
    }
};

TEST_F(FileUtilsTest, Paths) {
    write("a.yuv", "12345");
    write("large", "");
    write("largest", "");
    fs::resize_file(mFolder + "/large", 0x80000000U);
    fs::resize_file(mFolder + "/largest", 0x7FFFFFFFU);
    fs::create_symlink("a.yuv", mFolder + "/link");
    fs::create_symlink("nowhere", mFolder + "/broken");
    for (auto [path, kind, size, folder] :
         table<std::string, char, int, std::string>("paths.txt")) {
        for (std::string* text : {&path, &folder}) {
            *text = *text == "none" ? "" : (*text)[0] == '~' ? mFolder + text->substr(1) : *text;
        }
        EXPECT_EQ(FileUtils::isFile(path), kind == 'f') << path;
        EXPECT_EQ(FileUtils::isDirectory(path), kind == 'd') << path;
        EXPECT_EQ(FileUtils::getFolderPath(path), folder) << path;
        EXPECT_EQ(kind == 'd' ? -1 : FileUtils::getFileSize(path), size) << path;
    }
}

TEST_F(FileUtilsTest, ReadsFramesAtTheirOffsets) {
    std::string text;
    for (int i = 0; i < 1000; ++i) {
        text += static_cast<char>(i % 251);
    }
    write("frames", text);
    for (const auto& [size, stride, count, offset, length] :
         table<int, int, int, size_t, size_t>("frame-reads.txt")) {
        const std::string expected = text.substr(offset, length);
        std::string buffer(1000, 'e');
        auto* bytes = reinterpret_cast<unsigned char*>(buffer.data());
        const int read = FileUtils::readFromFile(mFolder + "/frames", bytes, size, stride, count);
        EXPECT_EQ(read, length) << size << ", " << stride << ", " << count;
        EXPECT_EQ(buffer, expected + std::string(1000 - expected.size(), 'e'));
    }
    EXPECT_EQ(takeLog(), "");
}

TEST_F(FileUtilsTest, FilesThatCannotBeReadAreLogged) {
    const std::string fifo = mFolder + "/fifo";
    mkfifo(fifo.c_str(), 0600);
    const std::tuple<std::string, int, std::string> cases[] = {
        {"\n\x1B\x7F\xC2\x9B\xC3\x9B", -ENOENT,
         "open file: \\n\\x1B\\x7F\\xC2\\x9B\xC3\x9B, errno: 2, No such file or directory\n"},
        {fifo, -EINVAL, "open file: " + fifo + ", errno: 22, Invalid argument\n"},
        {"/proc/self/mem", 0, "read file: /proc/self/mem, errno: 5, Input/output error\n"}};
    for (const auto& [path, result, entry] : cases) {
        unsigned char byte = 0;
        EXPECT_EQ(FileUtils::readFromFile(path, &byte, 1, 0, 0), result);
        EXPECT_EQ(takeLog(), "E VexConverter-FileUtils: readFromFile: Failed to " + entry);
    }
}

std::string lastSystemLogEntry;  // its priority, a space and its text

// Here VEX_HOST_LOG names no file, and standard error is no terminal.
TEST_F(FileUtilsTest, EntriesGoToTheSystemLog) {
    setenv("VEX_HOST_LOG", "", 1);
    testing::internal::CaptureStderr();
    FileUtils::readFromFile("none", nullptr, 1, 0, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(lastSystemLogEntry, std::to_string(LOG_USER | LOG_ERR) +
                                      " VexConverter-FileUtils: readFromFile: Failed to open file: "
                                      "none, errno: 2, No such file or directory");
}

TEST(HostMemory, BuffersShareTheirBytesAndLeakNoDescriptor) {
    size_t before = 0;
    for (const int size : {1, 1, 5000, 5000, 6000, 6000}) {
        IonMemory ion(size, -1);
        IonMemory imported(size, ion.getFd());
        DmabufMemory dmabuf(size, ion.getFd());
        DmabufMemory other(size, -1);
        ion.data()[size - 1] = 77;
        EXPECT_EQ(imported.data()[size - 1], 77);
        EXPECT_EQ(dmabuf.data()[size - 1], 77);
        EXPECT_NE(imported.getFd(), ion.getFd());
        before = before == 0 ? openDescriptors() : before;
        EXPECT_EQ(openDescriptors(), before);
    }
}

TEST(HostMemory, OnlyIdleBuffersAreGivenOutAgain) {
    auto buffer = std::make_unique<DmabufMemory>(5000, -1);
    buffer->data()[0] = 1;
    void* remains = mmap(nullptr, 5000, PROT_READ, MAP_SHARED, buffer->getFd(), 0);
    buffer.reset();
    DmabufMemory second(5000, -1);
    IonMemory third(5000, -1);
    EXPECT_EQ(second.data()[0] + third.data()[0], 0);
    munmap(remains, 5000);
    third.data()[0] = 3;
    third.release();
    EXPECT_EQ(DmabufMemory(5000, -1).data()[0], 3);
}

}  // namespace

// Stands in for the C library's function.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): that has reserved names
extern "C" void syslog(int priority, const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    lastSystemLogEntry = std::to_string(priority) + " " + text;
}
