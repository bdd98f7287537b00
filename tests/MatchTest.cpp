// These tests check what the patterns of rules find in names, and the built-in rules against the
// catalogue.
#include "TestFiles.h"
#include "color/ColorConvert.h"
#include "config/FormatConfig.h"
#include "fileutils/FileUtils.h"

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

FormatConfig ruleOf(const std::string& pattern, int widthGroup, int heightGroup) {
    return {"", "", pattern, widthGroup, heightGroup, -1, -1, 0, 0, 1, 1, "NV12"};
}

// Returns the size that the pattern finds in the name, or "none".
std::string sizeFound(const std::string& pattern, const std::string& name, int widthGroup = 1,
                      int heightGroup = 2) {
    FormatConfig rule = ruleOf(pattern, widthGroup, heightGroup);
    const bool found = rule.match(name);
    const std::string size = std::to_string(rule.width) + "x" + std::to_string(rule.height);
    EXPECT_TRUE(found || size == "0x0") << pattern;
    return found ? size : "none";
}

class PatternTest : public FolderTest {
  protected:
    PatternTest() { setenv("VEX_HOST_LOG", (mFolder + "/log").c_str(), 1); }
    ~PatternTest() override { setenv("VEX_HOST_LOG", "/dev/null", 1); }

    auto logEntries() const {
        const std::string log = readFile(mFolder + "/log");
        return std::count(log.begin(), log.end(), '\n');
    }
};

TEST_F(PatternTest, NamesAreSearchedAndPatternsThatFailAreLoggedOnce) {
    for (const auto& [pattern, name, result] :
         table<std::string, std::string, std::string>("patterns.txt")) {
        const bool isValid = result != "invalid";
        const auto before = logEntries();
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(sizeFound(pattern, name), isValid ? result : "none") << pattern;
        }
        EXPECT_EQ(logEntries() - before, isValid ? 0 : 1) << pattern;
    }
}

#ifdef _LIBCPP_VERSION  // GCC's library would search for hours.
TEST_F(PatternTest, SearchesThatTheLibraryGivesUpAreLogged) {
    EXPECT_EQ(sizeFound("(a+)+$", std::string(40, 'a') + "b"), "none");
    EXPECT_EQ(logEntries(), 1);
}
#endif

std::string repeated(const std::string& text, size_t size) {
    std::string all;
    while (all.size() + text.size() <= size) {
        all += text;
    }
    return all;
}

TEST_F(PatternTest, LongNamesAndPatternsAreSearched) {
    constexpr size_t LONGEST = 4095;
    const std::string end = "W64H32.yuv";
    const std::string name = repeated("v", LONGEST - end.size()) + end;
    for (const char* pattern :
         {"W(\\d+)H(\\d+)", "(?:(?:.))*W(\\d+)H(\\d+)", "(?:[a-zA-Z_]|\\d)*W(\\d+)H(\\d+)",
          "^(?!.*(?:tmp|old))v.*W(\\d+)H(\\d+)"}) {
        EXPECT_EQ(sizeFound(pattern, name), "64x32") << pattern;
    }
    EXPECT_EQ(sizeFound("((((((((((.))))))))))*W(\\d+)H(\\d+)", name, 11, 12), "64x32");
    std::string names;
    for (int i = 0; i < 900; ++i) {
        names += "camera_" + std::to_string(i) + "_in_a_room|";
    }
    EXPECT_EQ(sizeFound("(?:" + names + "v)W(\\d+)H(\\d+)", name.substr(4000)), "64x32");
    EXPECT_EQ(logEntries(), 0);
}

// If a search took too long, this test would not end.
TEST(Match, BuiltInRulesSearchAnyName) {
    ASSERT_EQ(FileUtils::parseConfigFile(""), 0);
    const std::string start = "vdec_output_";
    const std::string digits(1300, '1');
    for (const std::string& name :
         {repeated(start, 4000), repeated("venc_input_W1H1_F0", 4000),
          start + "W" + digits + digits, repeated(start + "W1H1_F0_", 4000),
          repeated(start, 1300) + repeated("W1", 1300) + "H" + digits}) {
        EXPECT_FALSE(findMatch(name)) << name.substr(0, 40);
    }
}

}  // namespace
