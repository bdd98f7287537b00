// Dumps of every format made by make-dump come back through the tool as they went in.
#include <random>

#include "ToolRun.h"
#include "color/Catalogue.h"

namespace {

using C = ColorConvert;

class RoundTrip : public ToolTest, public testing::WithParamInterface<int> {
  protected:
    C::ColorFormat format() const { return static_cast<C::ColorFormat>(GetParam()); }

    // A raw frame of the format's plain form.
    std::string randomFrame(int width, int height) const {
        const auto plain = C::getDefaultOutputFormat(format());
        std::string bytes(static_cast<size_t>(C::getFrameSize(width, height, plain)), '\0');
        std::mt19937 random(1);
        for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
            // P010 has its ten bits at the top.
            const auto word =
                static_cast<uint32_t>(random()) & (plain == C::P010 ? 0xFFC0FFC0U : 0xFFFFFFFFU);
            memcpy(&bytes[i], &word, 4);
        }
        return bytes;
    }

    // Dumps the frames of the file "raw" and converts the dump.
    void dumpAndConvert(int width, int height, const std::string& environment) const {
        for (const char* folder : {"/in", "/out"}) {
            std::filesystem::remove_all(mFolder + folder);
            std::filesystem::create_directory(mFolder + folder);
        }
        const char* name = colorFormatInfo(format()).name;
        const std::vector<std::string> size = {
            "-f", name, "-w", std::to_string(width), "-h", std::to_string(height)};
        std::vector<std::string> arguments = {"-i", "raw", "-o", "in"};
        arguments.insert(arguments.end(), size.begin(), size.end());
        const ToolResult made = makeDump(arguments);
        ASSERT_EQ(made.status, 0) << made.err;
        // No built-in rule has a code for some formats; make-dump says how to convert them.
        arguments = {"-i", "in", "-o", "out"};
        if (!made.err.empty()) {
            arguments.insert(arguments.end(), size.begin(), size.end());
        }
        const ToolResult converted =
            tool(arguments, "VEX_HOST_BOARD_PLATFORM=vx2415 " + environment);
        EXPECT_EQ(converted.err.find("Error"), std::string::npos) << converted.err;
    }
};

TEST_P(RoundTrip, GivesTheRawFrameBack) {
    const auto smallest = C::getDefaultAlignedSize(1, 1, format());
    for (const auto& [w, h] :
         {smallest, std::pair(192, 64), std::pair(1920, 1088), std::pair(4096, 2176)}) {
        const std::string frame = randomFrame(w, h);
        write("raw", frame);
        for (const char* memory : {"VEX_HOST_ION=0", "VEX_HOST_ION=1"}) {
            ASSERT_NO_FATAL_FAILURE(dumpAndConvert(w, h, memory));
            const auto outputs = files("out");
            ASSERT_EQ(outputs.size(), 1U);
            EXPECT_TRUE(read("out/" + outputs.begin()->first) == frame) << w << " x " << h;
        }
    }
}

TEST_P(RoundTrip, SeveralFramesOfASizeThatIsPadded) {
    const int w = 50;
    const int h = 38;
    const std::string frame = randomFrame(w, h);
    write("raw", frame + frame + frame);
    ASSERT_NO_FATAL_FAILURE(dumpAndConvert(w, h, ""));
    const auto [width, height] = C::getDefaultAlignedSize(w, h, format());
    const auto size =
        static_cast<uintmax_t>(C::getFrameSize(width, height, C::getDefaultOutputFormat(format())));
    const bool separate = C::isSeparate(format());
    const auto outputs = files("out");
    EXPECT_EQ(outputs.size(), separate ? 3U : 1U);
    for (const auto& [name, bytes] : outputs) {
        EXPECT_EQ(bytes, separate ? size : 3 * size);
        EXPECT_EQ(read("out/" + name).substr(0, static_cast<size_t>(w)),
                  frame.substr(0, static_cast<size_t>(w)));
    }
    // One entry a stream says that what the device compresses is read as it lies.
    const std::string log = takeLog();
    const std::string entry = "I PxAsyncBlitStream: payload is read as stored blocks\n";
    std::string expected;
    const std::string name = colorFormatInfo(format()).name;
    if (separate || name.find("AFBC") != std::string::npos) {
        expected = separate ? entry + entry + entry : entry;
    }
    EXPECT_EQ(log, expected);
}

INSTANTIATE_TEST_SUITE_P(All, RoundTrip, testing::Range(1, COLOR_FORMAT_COUNT), [](const auto& i) {
    return std::string(colorFormatInfos[static_cast<size_t>(i.param)].name);
});

class MakeDump : public ToolTest {};

TEST_F(MakeDump, ErrorsAreClear) {
    write("raw", "too short");
    const struct {
        std::vector<std::string> arguments;
        std::string error;
    } cases[] = {
        {{"-f", "nv12"}, "Error: unknown color format: nv12\n"},
        {{"-w", "5x"}, "Error: the width is no number from 1 to 1000000: 5x\n"},
        {{"x"}, "Error: not an option: x\n"},
        {{"--colorspace", "BT601"}, "Error: unknown color space: BT601\n"},
        {{"-f", "NV12", "-w4", "-h4", "-i", "raw"}, "Error: raw holds 0 frames of 24 bytes\n"},
        {{"-f", "NV12", "-w4", "-h4", "-i", "none"}, "Error: no file of less than 2 GiB: none\n"},
        {{"-f", "NV12", "-w4", "-h4", "-i", "raw", "-r", "P010"},
         "Error: raw frames must be NV12 or RGBA8888 for this format\n"},
        {{"-f", "NV12", "-w4", "-h4", "-o", "none"},
         "Error: can't write none/vdec_output_0_W4H4_F0x1000_0.yuv\n"},
        {{"-f", "NV12", "-w", "1000000", "-h", "1000000"}, "Error: a frame is 2 GiB or more\n"},
    };
    for (const auto& c : cases) {
        const ToolResult result = makeDump(c.arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, c.error);
        EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(makeDump({}).err.find("Error: format, width and height are needed\nUsage: "), 0U);
    EXPECT_EQ(makeDump({"--help"}).out.find("Usage: make-dump"), 0U);
}

TEST_F(MakeDump, CardKeepsItsColors) {
    ASSERT_EQ(makeDump({"-f", "NV12_BLK", "-w", "320", "-h", "192", "-n", "2", "-o", "in",
                        "--colorspace", "BT709_FULL"})
                  .status,
              0);
    tool({"-i", "in", "-o", "out", "--output-colorspace", "BT709_FULL", "--input-colorspace",
          "BT709_FULL"});
    const std::string frame = read("out/vdec_output_0_W320H192_F0x7F000001_0_converted.nv12");
    ASSERT_EQ(frame.size(), 2U * 320 * 192 * 3 / 2);
    // Luma in the middle of each bar: white, yellow, cyan, green, magenta, red, blue, black.
    const int luma[] = {255, 237, 201, 182, 73, 54, 18, 0};
    for (size_t bar = 0; bar < 8; ++bar) {
        EXPECT_NEAR(static_cast<unsigned char>(frame[320 * 80 + bar * 40 + 20]), luma[bar], 1);
    }
    EXPECT_NE(frame.substr(0, frame.size() / 2), frame.substr(frame.size() / 2)) << "frame number";
}

}  // namespace
