// Rules: bounds of a search, and the built-in ones against the catalogue.
#include <climits>

#include "TestFiles.h"
#include "color/ColorConvert.h"
#include "config/FormatConfig.h"
#include "config/PatternSearch.h"
#include "fileutils/FileUtils.h"

using namespace std::string_literals;

namespace {

TEST(Match, BuiltInRulesAlignAsTheCatalogueDoes) {
    for (const char* none : {TEST_DATA "/names.txt", "/dev/null",
                             TEST_DATA "/../../config/format-rules.schema.json"}) {
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

std::string repeated(int count, const std::string& text) {
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

#ifdef VEX_SANITIZE  // which widens the matcher's frames
constexpr int LONG = PATH_MAX / 8, NAMES = 100;
#else
constexpr int LONG = PATH_MAX - 40, NAMES = 300;
#endif

TEST(Match, LongNamesAndPatternsAreSearched) {
    const std::string name = "vdec_output_" + std::string(LONG, 'W') + "W64H32_s_Y.x";
    EXPECT_EQ(searchPattern(name, "vdec_output_.*W(\\d+)H(\\d+)_(.)_(.*)").groups.at(2).length, 2U);
    const std::string names =
        "(" + repeated(NAMES, "camera-\\d_of_a_set_of_captures_\\d\\d|") + "W)";
    EXPECT_EQ(searchPattern(name.substr(0, 255), names).groups.at(1).length, 1U);
    for (const char* pattern : {"^(?!.*(tmp|old))v(.)", "(?=v)(v)", "_(?!o)(.)|(W)(\\2{4})(?!tmp_)",
                                "(d)(?=[^.]*H32)(?!.*tmp)"}) {
        const std::string shorter = name.substr(0, 12) + name.substr(name.size() - 150);
        EXPECT_GT(searchPattern(shorter, pattern).groups.size(), 1U) << pattern;
    }
    EXPECT_EQ(searchPattern("\\1", "\\\\1").outcome, PatternSearch::FOUND) << "no back reference";
    EXPECT_EQ(searchPattern("ab", "a\\01*b").outcome, PatternSearch::NOT_FOUND)
        << "no back reference";
}

// The bounds that hold before a search begins.
TEST(Match, LongAndComplexPatternsAreRefused) {
    const std::string name(PATH_MAX - 40, 'a');
    const auto longest = (1U << 23) / (name.size() + 1);
    EXPECT_EQ(searchPattern(name, std::string(longest, 'b')).error, "");
    const std::pair<std::string, std::string> complex[] = {
        {name, std::string(longest + 1, 'b')},
        {name, "(?:(?=" + std::string(300, 'a') + ")|)Z"},
        {"a", "(?:(?=.*)|)Z"},
        {"a", "a(?=(b))"},
        {"a", "a(?=[ab]*.*)Z"}};
    for (const auto& [searched, pattern] : complex) {
        EXPECT_EQ(searchPattern(searched, pattern).error,
                  "the pattern is too complex for a name of this length")
            << pattern.substr(0, 40);
    }
    for (const std::string& pattern : {std::string(600'000, '^'), "a{9999999999999999999}"s}) {
        EXPECT_EQ(searchPattern(name, pattern).error, "the pattern or a number in it is too long");
    }
}

// The steps alone would let some of them search for hours.
TEST(Match, HostilePatternsEndWithAResult) {
    for (const std::string& pattern :
         {"(a+)+$"s, "((.))*Z"s, repeated(60, "(") + "b" + repeated(60, "*)*") + "z",
          "(?:|){4000}z"s, "(?:|){24}(){1200}Z"s, "(x)?(?:|){60}\\1Z"s, "((a{99}){99}){99}"s,
          "(){30000}z"s, "(?:((((((((((a))))))))))*z"s, "(?:(){300}a)*z"s, std::string(70'000, '^'),
          repeated(5000, "(") + repeated(5000, ")") + "z", "(?:(?=.*)|){24}(?=.*)Z"s,
          "(?:|){24}(?=.*)Z"s, "(?:(?=" + std::string(90, 'a') + ")|){24}Z",
          "(?:[" + std::string(2000, 'x') + "]|a)*Z"}) {
        const PatternSearch search =
            searchPattern(std::string(PATH_MAX - 2, 'a') + "b", pattern, 1'000'000);
        EXPECT_NE(search.outcome, PatternSearch::FOUND) << pattern.substr(0, 40);
    }
}

}  // namespace
