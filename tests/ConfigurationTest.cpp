// Configuration mode, through the binary where a user would see it: rules, names, messages, sets.
#include <climits>

#include "ToolRun.h"
#include "config/PatternSearch.h"

namespace {

const std::string SKIP = "Error: failed to get convert config from config file, skip this file: ";
const std::string DEFAULT = "No config file specified, using default config\n";
const std::string MODE = "Convert with arguments parsed from config file\n";
const std::string ALL_FORMATS = "VEX_HOST_BOARD_PLATFORM=vx2415";

class Configuration : public ToolTest {
  protected:
    std::string convert(const std::vector<std::string>& arguments,
                        const std::string& environment = ALL_FORMATS) const {
        const ToolResult result = tool(arguments, environment);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "");
        return result.err;
    }
};

// Tables, a case a line.

TEST_F(Configuration, BuiltInRulesDecodeNames) {
    const std::string head = "Output folder path: out\n" + DEFAULT + MODE;
    for (const auto& [name, output, size] : table<S, S, uintmax_t>("names.txt")) {
        write("in/" + name, "x");
        const bool fails = output == "-";
        const std::string skipped =
            "Error: failed to match: in/" + name + "\n" + SKIP + "in/" + name + "\n";
        EXPECT_EQ(convert({"in/" + name, "-o", "out"}),
                  head + (fails ? skipped : "Process: in/" + name + "\n"));
        EXPECT_EQ(files("out")[name.substr(0, name.rfind('.')) + "_converted." + output], size)
            << name;
    }
}

TEST(Match, LongNamesAndHostilePatternsEndWithAResult) {
#ifdef __SANITIZE_ADDRESS__  // which widens the matcher's frames
    constexpr int LONG = PATH_MAX / 8;
#else
    constexpr int LONG = PATH_MAX - 40;
#endif
    const std::string name = "vdec_output_" + std::string(LONG, 'W') + "W64H32_s_Y.x";
    EXPECT_EQ(searchPattern(name, "vdec_output_.*W(\\d+)H(\\d+)_(.)_(.*)").groups.at(2).length, 2U);
    using namespace std::string_literals;
    std::string nested = "b";
    for (int depth = 0; depth < 60; ++depth) {
        nested = "(" + nested + "*)*";
    }
    for (const std::string& pattern :
         {"(a+)+$"s, "((a)|(b))*c"s, ".*.*.*.*x"s, nested + "z", "(?:|){4000}z"s,
          "((a{99}){99}){99}"s, "(){30000}z"s, "(?:((((((((((a))))))))))*z"s, "(?:(){300}a)*z"s,
          std::string(100000, 'a'), std::string(1000, '(') + std::string(1000, ')') + "z"}) {
        const PatternSearch search = searchPattern(std::string(PATH_MAX - 2, 'a') + "b", pattern);
        EXPECT_NE(search.outcome, PatternSearch::FOUND) << pattern.substr(0, 40);
    }
}

}  // namespace
