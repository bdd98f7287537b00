// The command line, through the binary: options, messages, names, exit statuses.
#include "ToolRun.h"

namespace {

class CommandLine : public ToolTest {
  protected:
    // What is printed before the help text.
    std::string beforeHelp(const std::string& text) const {
        const size_t help = text.find("Usage: VexConverter -i INPUT -o OUTPUT\n");
        EXPECT_NE(help, std::string::npos) << text;
        return text.substr(0, help);
    }

    const std::string mHelp = [] {
        std::ostringstream text;
        text << std::ifstream(std::string(TEST_DATA) + "/help.txt").rdbuf();
        return text.str();
    }();
};

TEST_F(CommandLine, HelpAndListings) {
    const size_t formats = mHelp.find("All supported input color formats:\n");
    const size_t spaces = mHelp.find("All supported color spaces:\n");
    const std::string formatList = mHelp.substr(formats, spaces - formats - 1);
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string printed;
    } cases[] = {
        {{}, 0, mHelp},
        {{"--help"}, 0, mHelp},
        {{"--list-formats", "-x"}, 0, formatList},
        {{"-l"}, 0, formatList},
        {{"-i", "x", "--list-colorspaces", "--help"}, 0, mHelp.substr(spaces)},
    };
    for (const auto& c : cases) {
        const ToolResult result = tool(c.arguments);
        EXPECT_EQ(result.status, c.status);
        EXPECT_EQ(result.err, c.printed);
        EXPECT_EQ(result.out, "");
    }
    const ToolResult all = tool({"-l"}, "VEX_HOST_BOARD_PLATFORM=vx2415");
    EXPECT_EQ(std::count(all.err.begin(), all.err.end(), '\n'), 2 + 17);
    EXPECT_NE(all.err.find("\nP010_Lumo                               VEX Lumo P010\n"),
              std::string::npos);
}

TEST_F(CommandLine, ParseErrorsEndWithTheHelpText) {
    const std::vector<std::string> cases[] = {
        {"-x", "--list-formats"}, {"-h"}, {"--png=yes"}, {"--he", "5"}, {"--unknown"}, {"-i"}};
    for (const auto& arguments : cases) {
        const ToolResult result = tool(arguments);
        EXPECT_EQ(result.status, 1) << arguments.front();
        const std::string diagnostic = beforeHelp(result.err);
        EXPECT_EQ(std::count(diagnostic.begin(), diagnostic.end(), '\n'), 1) << diagnostic;
        EXPECT_EQ(result.err.substr(diagnostic.size()), mHelp);
    }
}

TEST_F(CommandLine, UnusableParametersEndBeforeAnyFile) {
    write("in/a.yuv", std::string(24, 'x'));
    const std::string start = "Output folder path: in\nConvert with cmdline arguments\n";
    const std::string noJob = "Error: failed to get convert config from cmdline arguments\n\n";
    const std::string width = "Error: width <= 0, width: ";
    const std::string height = "Error: height <= 0, height: ";
    const std::string format = "Error: unknown input frame color format\n";
    const std::string platform = "Error: unsupported input color format on this platform\n";
    const std::string separate = "Error: unsupported separate frame using cmdline arguments\n";
    const struct {
        std::vector<std::string> arguments;
        std::string environment;
        std::string printed;
    } cases[] = {
        {{"-o", "x"},
         "",
         "Error: input file or folder path can NOT be NULL\nError: no valid input file path\n\n"},
        {{"-i", "missing"}, "", "Error: no valid input file path\n\n"},
        {{"-i", "out"}, "", "Error: no valid input file path\n\n"},
        {{"in", "out"}, "", "Error: no valid input file path\n\n"},
        {{"in/a.yuv", "-w", "4", "-h", "4"}, "", start + format + noJob},
        {{"in/a.yuv", "-w", "4", "-h", "4", "-f", "nv12"}, "", start + format + noJob},
        {{"in/a.yuv", "-w", "-5", "-h", "0", "-f", "NV12"},
         "",
         start + width + "-5\n" + height + "0\n" + noJob},
        {{"in/a.yuv", "-w", "abc", "-f", "YUV420P_AFBC"},
         "",
         start + width + "0\n" + height + "0\n" + platform + noJob},
        {{"in/a.yuv", "-w", "64", "-h", "64", "-f", "NV12_Lumo"},
         "VEX_HOST_BOARD_PLATFORM=vx2415",
         start + separate + noJob},
        {{"in/a.yuv", "-w", "64", "-h", "64", "-f", "CPQ"},
         "VEX_HOST_BOARD_PLATFORM=vx2105",
         start + separate + platform + noJob},
    };
    for (const auto& c : cases) {
        const ToolResult result = tool(c.arguments, c.environment);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(beforeHelp(result.err), c.printed);
    }
    EXPECT_EQ(files("in").size(), 1U);
}

TEST_F(CommandLine, FramesProgressAndNames) {
    std::string frames;
    for (const char letter : {'a', 'b', 'c'}) {
        frames += std::string(24, letter);  // NV12, 4 x 4
    }
    write("in/three.yuv", frames);
    write("in/one", frames.substr(0, 24));
    write("in/more.x.yuv", frames.substr(0, 25));
    write("in/short.yuv", "abc");
    write("in/none.yuv", "");
    write("in/.yuv", frames.substr(0, 24));
    const std::vector<std::string> inputs = {"in/three.yuv", "in/one",      "in/more.x.yuv",
                                             "in/short.yuv", "in/none.yuv", "in/.yuv"};
    std::vector<std::string> arguments = {"-w",    "3x",  "--height", "4",
                                          "--out", "out", "-f",       "NV12"};
    arguments.insert(arguments.end(), inputs.begin(), inputs.end());
    const std::string clear = "\r\x1b[kProcess: frame #";
    const std::string printed =
        "Output folder path: out\nConvert with cmdline arguments\nProcess: in/three.yuv\n" + clear +
        "1 of 3" + clear + "2 of 3" + clear + "3 of 3\nProcess: in/one\nProcess: in/more.x.yuv\n" +
        clear + "1 of 1\nProcess: in/short.yuv\nProcess: in/none.yuv\nProcess: in/.yuv\n";
    for (int round = 1; round <= 2; ++round) {
        const ToolResult result = tool(arguments, round == 1 ? "" : "VEX_HOST_ION=1");
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, printed);
        EXPECT_EQ(result.out, "");
    }
    // The second run appended.
    EXPECT_EQ(read("out/three_converted.nv12"), frames + frames);
    EXPECT_EQ(files("out"), (std::map<std::string, uintmax_t>{{"three_converted.nv12", 144},
                                                              {"one_converted.nv12", 48},
                                                              {"more.x_converted.nv12", 48},
                                                              {"short_converted.nv12", 48},
                                                              {"none_converted.nv12", 48},
                                                              {"_converted.nv12", 48}}));
    arguments.emplace_back("--png");
    EXPECT_EQ(tool(arguments).err, printed);
    const auto pictures = files("out");
    for (const char* name :
         {"three_converted_frame#1.png", "three_converted_frame#3.png", "one_converted.png",
          "more.x_converted_frame#1.png", "short_converted.png", "none_converted.png"}) {
        EXPECT_EQ(pictures.count(name), 1U) << name;
    }
    EXPECT_EQ(pictures.size(), 6U + 8U);
    EXPECT_EQ(takeLog(), "");
}

TEST_F(CommandLine, FilesAndFramesOutOfRangeAreReportedAndSkipped) {
    write("in/a.yuv", "x");
    write("in/large.yuv", "");
    std::filesystem::resize_file(mFolder + "/in/large.yuv", 0x80000000U);
    const auto error = [](const std::string& what) {
        return what + " is too large, 2 GiB or more, skip this file: ";
    };
    EXPECT_EQ(tool({"in/large.yuv", "in/a.yuv", "-o", "out", "-w4", "-h4", "-fNV12"}).err,
              "Output folder path: out\nConvert with cmdline arguments\nProcess: in/large.yuv\n" +
                  error("Error: file") + "in/large.yuv\nProcess: in/a.yuv\n");
    for (const char* size : {"100000", "2147483647"}) {
        const ToolResult result = tool({"in/a.yuv", "-o", "out", "-w", size, "-h", size, "-fNV12"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err,
                  "Output folder path: out\nConvert with cmdline arguments\nProcess: in/a.yuv\n" +
                      error("Error: frame") + "in/a.yuv\n");
    }
}

TEST_F(CommandLine, OutputFolder) {
    write("in/a.yuv", std::string(24, 'x'));
    write("b.yuv", std::string(24, 'x'));
    const struct {
        std::vector<std::string> arguments;
        std::string folder;
    } cases[] = {{{"in/a.yuv", "-o", "out/"}, "out"},
                 {{"in/a.yuv", "-o", "out/new"}, "out"},
                 {{"in/a.yuv", "-o", "in/a.yuv"}, "in"},
                 {{"b.yuv"}, "."},
                 {{"b.yuv", "-i", "in/a.yuv"}, "in"}};  // -i comes first
    for (const auto& c : cases) {
        std::vector<std::string> arguments = {"-w4", "-h4", "-fNV12"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(tool(arguments).err.find("Output folder path: " + c.folder + "\n"), 0U);
    }
    EXPECT_EQ(files("out").at("a_converted.nv12"), 48U);
    EXPECT_EQ(files(".").count("b_converted.nv12"), 1U);
}

}  // namespace
