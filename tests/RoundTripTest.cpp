// Dumps of every format made by make-dump come back through the tool as they went in.
#include <random>
#include <set>

#include "ToolRun.h"
#include "color/Catalogue.h"

namespace {

using C = ColorConvert;
namespace fs = std::filesystem;

class RoundTrip : public ToolTest, public testing::WithParamInterface<int> {
  protected:
    C::ColorFormat format() const { return static_cast<C::ColorFormat>(GetParam()); }

    // A raw frame of the format's plain form.
    std::string randomFrame(int width, int height) const {
        const auto plain = C::getDefaultOutputFormat(format());
        std::string bytes(static_cast<size_t>(C::getFrameSize(width, height, plain)), '\0');
        std::mt19937 random(1);
        for (size_t i = 0; i < bytes.size(); i += 2) {
            // P010 has its ten bits at the top.
            const auto word = static_cast<uint16_t>(random() & (plain == C::P010 ? 0xFFC0U : ~0U));
            memcpy(&bytes[i], &word, std::min<size_t>(2, bytes.size() - i));
        }
        return bytes;
    }

    // Dumps the frames of the file "raw", as whole frames or as the format is stored, and converts
    // the dump.
    void dumpAndConvert(int width, int height, const std::string& environment, bool whole) const {
        for (const char* folder : {"/in", "/out"}) {
            fs::remove_all(mFolder + folder);
            fs::create_directory(mFolder + folder);
        }
        const char* name = colorFormatInfo(format()).name;
        const std::vector<std::string> size = {
            "-f", name, "-w", std::to_string(width), "-h", std::to_string(height)};
        std::vector<std::string> arguments = {"-i", "raw", "-o", "in"};
        arguments.insert(arguments.end(), size.begin(), size.end());
        if (whole) {
            arguments.emplace_back("--whole");
        }
        const ToolResult made = run(MAKE_DUMP, arguments);
        ASSERT_EQ(made.status, 0) << made.err;
        // No built-in rule has a code for some formats; make-dump says how to convert them.
        arguments = {"-i", "in", "-o", "out"};
        if (whole && C::isSeparate(format())) {
            arguments.insert(arguments.end(),
                             {"-c", std::string(TEST_DATA) + "/whole-frames-rule.json"});
        } else if (made.err.find("No built-in rule") != std::string::npos) {
            arguments.insert(arguments.end(), size.begin(), size.end());
        }
        const ToolResult converted =
            run(converter(), arguments, "VEX_HOST_BOARD_PLATFORM=vx2415 " + environment);
        EXPECT_EQ(converted.err.find("Error"), std::string::npos) << converted.err;
    }
};

TEST_P(RoundTrip, GivesTheRawFramesBack) {
    SCOPED_TRACE(colorFormatInfo(format()).name);
    const bool separate = C::isSeparate(format());
    const auto smallest = C::getDefaultAlignedSize(1, 1, format());
    for (const auto& [w, h] :
         {smallest, std::pair(192, 64), std::pair(1920, 1088), std::pair(4096, 2176)}) {
        const std::string frame = randomFrame(w, h);
        const size_t frames = w == 192 ? 2 : 1;
        write("raw", frames == 2 ? frame + frame : frame);
        // A format without parts is dumped the same both times, and only the memory differs.
        for (const bool whole : {false, true}) {
            const std::string ion = whole ? "VEX_HOST_ION=1" : "VEX_HOST_ION=0";
            ASSERT_NO_FATAL_FAILURE(dumpAndConvert(w, h, ion, whole));
            const std::set<fs::directory_entry> outputs(fs::directory_iterator(mFolder + "/out"),
                                                        fs::directory_iterator());
            std::string all;
            for (const fs::directory_entry& output : outputs) {
                all += readFile(output.path());
            }
            const std::string raw = read("raw");
            ASSERT_EQ(all.size(), raw.size()) << w << " x " << h;
            EXPECT_EQ(firstDifference(all.data(), raw.data(), raw.size()), raw.size())
                << w << " x " << h;
            EXPECT_EQ(outputs.size(), separate && !whole ? frames : 1);
            EXPECT_EQ(takeLog(), "");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, RoundTrip, testing::Range(1, int{C::COLOR_FORMAT_COUNT}),
                         [](const auto& i) {
                             return std::string(
                                 colorFormatInfos[static_cast<size_t>(i.param)].name);
                         });

}  // namespace
