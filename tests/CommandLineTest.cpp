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

    const std::string mHelp = readFile(std::string(TEST_DATA) + "/help.txt");
};

// Tables, a case a line.

TEST_F(CommandLine, HelpAndListings) {
    const size_t formats = mHelp.find("All supported input color formats:\n");
    const size_t spaces = mHelp.find("All supported color spaces:\n");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, mHelp},
        {{"--help"}, mHelp},
        {{"--list-formats", "-x"}, mHelp.substr(formats, spaces - formats - 1)},
        {{"-l"}, mHelp.substr(formats, spaces - formats - 1)},
        {{"-i", "x", "--list-colorspaces", "--help"}, mHelp.substr(spaces)},
    };
    for (const auto& [arguments, printed] : cases) {
        const ToolResult result = tool(arguments);
        EXPECT_EQ(std::tie(result.err, result.out), std::tuple(printed, ""));
        EXPECT_EQ(result.status, 0);
    }
    const ToolResult all = tool({"-l"}, "VEX_HOST_BOARD_PLATFORM=vx2415");
    std::string names = "Name ";
    for (std::istringstream& row : tableRows("formats.txt")) {
        std::string name;
        row >> name;
        names += name + " ";
    }
    std::istringstream lines(all.err.substr(all.err.find('\n') + 1));
    std::string listed;
    for (std::string line; std::getline(lines, line);) {
        listed += line.substr(0, line.find(' ')) + " ";
    }
    EXPECT_EQ(listed, names);
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
    const std::string noInput = "Error: no valid input file path\n";
    const std::string start = "Output folder path: in\nConvert with cmdline arguments\n";
    const std::string width = "Error: width <= 0, width: ";
    const std::string height = "Error: height <= 0, height: ";
    const std::string format = "Error: unknown input frame color format\n";
    const std::string platform = "Error: unsupported input color format on this platform\n";
    const std::string separate = "Error: unsupported separate frame using cmdline arguments\n";
    const std::string end = "Error: failed to get convert config from cmdline arguments\n";
    const std::tuple<std::vector<std::string>, std::string, std::string> cases[] = {
        {{"-o", "x"}, "", "Error: input file or folder path can NOT be NULL\n" + noInput},
        {{"-i", "missing"}, "", noInput},
        {{"-i", "out"}, "", noInput},
        {{"in", "out"}, "", noInput},
        {{"in/a.yuv", "-w", "4", "-h", "4"}, "", start + format + end},
        {{"in/a.yuv", "-w", "4", "-h", "4", "-f", "nv12"}, "", start + format + end},
        {{"in/a.yuv", "-w", "-5", "-h", "0", "-f", "NV12"},
         "",
         start + width + "-5\n" + height + "0\n" + end},
        {{"in/a.yuv", "-w", "abc", "-f", "YUV420P_AFBC"},
         "",
         start + width + "0\n" + height + "0\n" + platform + end},
        {{"in/a.yuv", "-w", "64", "-h", "64", "-f", "NV12_Lumo"}, "vx2415", start + separate + end},
        {{"in/a.yuv", "-w", "64", "-h", "64", "-f", "CPQ"},
         "vx2105",
         start + separate + platform + end},
    };
    for (const auto& [arguments, board, printed] : cases) {
        const ToolResult result = tool(arguments, "VEX_HOST_BOARD_PLATFORM=" + board);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(beforeHelp(result.err), printed + "\n");
    }
    EXPECT_EQ(files("in").size(), 1U);
}

TEST_F(CommandLine, FramesProgressAndNames) {
    const std::string one(24, 'a');  // NV12, 4 x 4
    const std::string frames = one + std::string(24, 'b') + std::string(24, 'c');
    const std::pair<std::string, std::string> inputs[] = {
        {"three.yuv", frames}, {"one", one},     {"more.x.yuv", one + "b"},
        {"short.yuv", "abc"},  {"none.yuv", ""}, {".yuv", one}};
    const std::map<std::string, uintmax_t> outputs = {
        {"three_converted.nv12", 144}, {"one_converted.nv12", 48},  {"more.x_converted.nv12", 48},
        {"short_converted.nv12", 48},  {"none_converted.nv12", 48}, {"_converted.nv12", 48}};
    std::vector<std::string> arguments = {"-w",    "3x",  "--height", "4",
                                          "--out", "out", "-f",       "NV12"};
    const std::string progress = "\r\x1b[kProcess: frame #";
    std::string printed = "Output folder path: out\nConvert with cmdline arguments\n";
    for (const auto& [name, bytes] : inputs) {
        write("in/" + name, bytes);
        arguments.push_back("in/" + name);
        printed += "Process: in/" + name + "\n";
        printed +=
            name[0] == 't' ? progress + "1 of 3" + progress + "2 of 3" + progress + "3 of 3\n" : "";
        printed += name[0] == 'm' ? progress + "1 of 1\n" : "";
    }
    // The second run appends.
    for (const char* memory : {"VEX_HOST_ION=0", "VEX_HOST_ION=1"}) {
        const ToolResult result = tool(arguments, memory);
        EXPECT_EQ(std::tie(result.err, result.out), std::tuple(printed, ""));
        EXPECT_EQ(result.status, 0);
    }
    EXPECT_EQ(read("out/three_converted.nv12"), frames + frames);
    EXPECT_EQ(files("out"), outputs);
    arguments.emplace_back("--png");
    EXPECT_EQ(tool(arguments).err, printed);
    const auto pictures = files("out");
    for (const char* name :
         {"three_converted_frame#1.png", "three_converted_frame#3.png", "one_converted.png",
          "more.x_converted_frame#1.png", "short_converted.png", "none_converted.png"}) {
        EXPECT_EQ(pictures.count(name), 1U) << name;
    }
    EXPECT_EQ(pictures.size(), outputs.size() + 8);
    EXPECT_EQ(takeLog(), "");
}

// The buffers of a file are those of the file before it.
TEST_F(CommandLine, NothingOfAnEarlierFileIsSeenInALaterOne) {
    const std::string set = "in/vdec_output_0_W64H64_F0x7F000010_";
    const char* const endings[] = {"_Y.dat", "_Y.len", "_C.dat", "_C.len"};
    const size_t body = 64 * 64;
    // A full set, then sets that lack one part each.
    std::vector<std::string> arguments = {"-o", "out"};
    for (int missing = -1; missing < 4; ++missing) {
        for (int part = 0; part < 4; ++part) {
            const std::string name = set + std::to_string(missing + 1) + endings[part];
            if (part != missing) {
                write(name, std::string(body, 'x'));
                arguments.push_back(name);
            }
        }
    }
    for (const std::string memory : {"VEX_HOST_ION=0", "VEX_HOST_ION=1"}) {
        tool(arguments, "VEX_HOST_BOARD_PLATFORM=vx2415 " + memory);
        for (const auto& [name, size] : files("out")) {
            const bool luma = name.find("_1_") == std::string::npos;
            const bool chroma = name.find("_3_") == std::string::npos;
            EXPECT_EQ(read("out/" + name), std::string(body, luma ? 'x' : '\0') +
                                               std::string(body / 2, chroma ? 'x' : '\0'))
                << name;
            std::filesystem::remove(mFolder + "/out/" + name);
        }
        // P010, 4 x 3: a line of words is told of the chroma plane that no row of it takes.
        write("in/colors",
              std::string(36, 'x'));  // RGB888, so that both buffers hold an x everywhere
        write("in/full", std::string(36, 'x'));
        write("in/short", std::string(30, 'x'));
        write("in/none", "");
        write("rules.json", readFile(std::string(TEST_DATA) + "/odd-height-rule.json"));
        tool({"in/colors", "in/full", "in/short", "in/none", "-o", "out", "-c", "rules.json"},
             memory);
        EXPECT_EQ(read("out/full_converted.p010"), std::string(32, 'x') + std::string(4, '\0'));
        EXPECT_EQ(read("out/short_converted.p010"), std::string(30, 'x') + std::string(6, '\0'));
        EXPECT_EQ(read("out/none_converted.p010"), std::string(36, '\0'));
        for (const auto& [name, size] : files("out")) {
            std::filesystem::remove(mFolder + "/out/" + name);
        }
    }
}

TEST_F(CommandLine, FilesAndFramesOutOfRangeAreReportedAndSkipped) {
    write("in/a.yuv", "x");
    write("in/large.yuv", "");
    std::filesystem::resize_file(mFolder + "/in/large.yuv", 0x80000000U);
    const std::string start = "Output folder path: in\nConvert with cmdline arguments\nProcess: ";
    const std::string error = ", skip this file: ";
    EXPECT_EQ(tool({"in/large.yuv", "in/a.yuv", "-w4", "-h4", "-fNV12"}).err,
              start + "in/large.yuv\nError: file is too large, 2 GiB or more" + error +
                  "in/large.yuv\nProcess: in/a.yuv\n");
    for (const char* size : {"100000", "2147483647"}) {
        const ToolResult result = tool({"in/a.yuv", "-w", size, "-h", size, "-fNV12"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, start + "in/a.yuv\nError: frame size is out of range, 0 to 2 GiB" +
                                  error + "in/a.yuv\n");
    }
}

}  // namespace
