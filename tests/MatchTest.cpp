// Rules: bounds of a search, and the built-in ones against the catalogue.
#include <climits>

#include "TestFiles.h"
#include "color/ColorConvert.h"
#include "config/FormatConfig.h"
#include "config/PatternSearch.h"
#include "fileutils/FileUtils.h"

namespace {

TEST(Match, BuiltInRulesAlignAsTheCatalogueDoes) {
    for (const char* none : {TEST_DATA "/names.txt", "/dev/null"}) {
        EXPECT_EQ(FileUtils::parseConfigFile(none), -1) << none;
    }
    ASSERT_EQ(FileUtils::parseConfigFile(""), 0);
    for (const FormatConfig& rule : formatConfigs) {
        EXPECT_FALSE(rule.formatPairs.empty()) << rule.name;
        for (const FormatConfig::FormatPair& pair : rule.formatPairs) {
            const auto format = ColorConvert::getColorFormatFromStr(pair.colorFormat);
            EXPECT_EQ(std::pair(pair.widthAlignment, pair.heightAlignment),
                      ColorConvert::getDefaultAlignedSize(1, 1, format))
                << rule.name << ", " << pair.formatStr << ": " << pair.colorFormat;
        }
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
    // The longest pattern; one byte more is in the list below.
    EXPECT_FALSE(searchPattern("Q", "[" + std::string(2040, 'x') + "[=q=]]$").groups.empty());
    using namespace std::string_literals;
    std::string nested = "b";
    for (int depth = 0; depth < 60; ++depth) {
        nested = "(" + nested + "*)*";
    }
    for (const std::string& pattern :
         {"(a+)+$"s, "((a)|(b))*c"s, ".*.*.*.*x"s, nested + "z", "(?:|){4000}z"s,
          "((a{99}){99}){99}"s, "(){30000}z"s, "(?:((((((((((a))))))))))*z"s, "(?:(){300}a)*z"s,
          std::string(2049, '^'), std::string(1000, '(') + std::string(1000, ')') + "z"}) {
        const PatternSearch search = searchPattern(std::string(PATH_MAX - 2, 'a') + "b", pattern);
        EXPECT_NE(search.outcome, PatternSearch::FOUND) << pattern.substr(0, 40);
    }
}

}  // namespace
