// Configuration mode, through the binary where a user would see it: rules, names, messages, sets.
#include <climits>

#include "ToolRun.h"
#include "config/PatternSearch.h"

namespace {

const std::string SKIP = "Error: failed to get convert config from config file, skip this file: ";
const std::string DEFAULT = "No config file specified, using default config\n";
const std::string MODE = "Convert with arguments parsed from config file\n";
const std::string ALL_FORMATS = "VEX_HOST_BOARD_PLATFORM=vx2415";

// A rule in full; keys are changed by replacing text.
std::string ruleText() { return readFile(std::string(TEST_DATA) + "/rule.json"); }

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    const size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), with);
}

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
    for (std::istringstream& row : tableRows("names.txt")) {
        std::string name, output;
        uintmax_t size = 0;
        row >> name >> output >> size;
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

TEST_F(Configuration, SeparateSetIsConvertedOnceAfterTheFileThatCameFirst) {
    const std::string stem = "in/vdec_output_2_W100H60_F0x7F000010_5_";
    for (const char* end : {"Y.dat", "Y.len", "C.dat", "C.len"}) {
        write(stem + end, std::string(128 * 64, end[0]));
    }
    EXPECT_EQ(convert({stem + "C.len", stem + "Y.dat", stem + "Y.len", stem + "C.dat", "-oout"}),
              "Output folder path: out\n" + DEFAULT + MODE + "Process: " + stem + "C.len\n");
    EXPECT_EQ(read("out/vdec_output_2_W100H60_F0x7F000010_5_C_converted.nv12"),
              std::string(128 * 64, 'Y') + std::string(128 * 32, 'C'));
    EXPECT_EQ(files("out").size(), 1U);
    // Another form of the path is another set.
    convert({stem + "C.len", "in//vdec_output_2_W100H60_F0x7F000010_5_Y.dat", "-oout"});
    EXPECT_EQ(files("out").size(), 2U);
    // A part that can't be read is logged, and the rest converted.
    takeLog();
    std::filesystem::remove(mFolder + "/" + stem + "Y.len");
    convert({stem + "C.len", "-oout"});
    EXPECT_NE(takeLog().find("E VexConverter-FileUtils: readFromFile: Failed to open file: " +
                             stem + "Y.len, errno: 2, No such file or directory\n"),
              std::string::npos);
}

// What a changed rule makes of a name, by the size of the output.
TEST_F(Configuration, RulesAreReadAsCJsonReadsThem) {
    const std::string parts =
        R"(1, "YBody": "y", "YHeader": "\u0059", "CBody": "c", "CHeader": "C")";
    std::string pairs = ruleText().substr(ruleText().find("\"ColorFormatPair\""));
    pairs.resize(pairs.find(']') + 1);
    const std::string second =
        R"(false}, {"FormatStr": "a", "ColorFormat": "P010", "WidthAlignment": 1,
        "HeightAlignment": 1, "Separate": false})";
    const std::tuple<std::string, std::string, std::string, uintmax_t> cases[] = {
        {"\"WidthIndex\": 1", "\"widthindex\": 1.9", "w6h4_", 36},
        {"\"WidthIndex\": 1", "\"WidthIndex\": 4", "w6h4_", 48},
        {"\"HeightIndex\": 2", "\"HeightIndex\": null", "w6h8_", 36},
        {"\"ColorFormatIndex\": 3", "\"ColorFormatIndex\": -1", "w6h4_a", 36},
        {"[{", "\xEF\xBB\xBF[{", "w006h4_b", 36},
        {"false", "2", "w6h4_a", 96},
        {pairs, "\"ColorFormatPair\": null", "w6h4_a", 36},
        {pairs, "\"ColorFormatPair\": 7", "w6h4_a", 36},
        {pairs, "\"ColorFormatPair\": \"x\"", "w6h4_a", 36},
        {pairs, "\"ColorFormatPair\": false", "w6h4_a", 36},
        {pairs, "\"ColorFormatPair\": {}", "w6h4_a", 36},
        {pairs, replaced(replaced(pairs, "[", "{\"x\": "), "]", "}"), "w6h4_a", 96},
        {"false}", second, "w6h4_a", 96},
        {"\"Separate\": false", "\"SEPARATE\": " + parts, "w6h4_a", 0},  // YV12 has no parts
    };
    for (const auto& [what, with, name, size] : cases) {
        write("rules.json", replaced(ruleText(), what, with) + " trailing");
        write("in/" + name, "x");
        const std::string noParts =
            "Error: input color format has no separate parts, skip this file: in/" + name + "\n";
        EXPECT_EQ(convert({"in/" + name, "-c", "rules.json", "-o", "out"}),
                  "Output folder path: out\nConfig file path: rules.json\n" + MODE +
                      "Process: in/" + name + "\n" + (size == 0 ? noParts : ""));
        EXPECT_EQ(files("out")[name + "_converted.nv12"], size) << with;
        std::filesystem::remove(mFolder + "/out/" + name + "_converted.nv12");
    }
}

TEST_F(Configuration, MatchesThatCannotBeUsedAreReported) {
    for (std::istringstream& row : tableRows("unusable-matches.txt")) {
        std::string what, with, name, printed;
        for (std::string* field : {&what, &with, &name, &printed}) {
            std::getline(row, *field, ';');
        }
        std::replace(printed.begin(), printed.end(), '|', '\n');
        write("rules.json", replaced(ruleText(), what, with));
        write("in/" + name, "x");
        EXPECT_EQ(convert({"in/" + name, "-c", "rules.json"}, ""),
                  "Output folder path: in\nConfig file path: rules.json\n" + MODE + printed + "\n" +
                      SKIP + "in/" + name + "\n");
    }
    const std::string log = takeLog();
    EXPECT_EQ(log.find("E VexConverter-FormatConfig: FormatConfig::match: Failed to use pattern, "),
              0U);
    const std::string end = ": w((\\d+)?h(\\d+)?_(\\w*)\n";
    EXPECT_EQ(log.rfind(end), log.size() - end.size()) << log;
}

TEST_F(Configuration, DocumentsThatCannotBeLoadedAreLoggedAndTriedAgain) {
    const std::string log = "E VexConverter-FileUtils: parseConfigFile: ";
    const std::string rule = ruleText();
    const std::pair<std::string, std::string> cases[] = {
        {"", "Empty config file: rules.json"},
        {" \n", "Failed to parse config file: rules.json"},
        {"[{]", "Failed to parse config file: rules.json"},
        {"[5]", "rule 1 is no object"},
        {replaced(rule, "\"Pattern\"", "\"pat\""), "rule 1, key \"Pattern\" is missing"},
        {replaced(rule, "\"n\"", "7"), "rule 1, key \"Name\" is no string"},
        {replaced(rule, "\"DefaultWidth\": 8,", ""), "rule 1, key \"DefaultWidth\" is missing"},
        {replaced(rule, "[\n{", "[\n7, {"), "rule 1 \"n\", pair 1 is no object"},
        {replaced(rule, "\"FormatStr\"", "\"x\""),
         "rule 1 \"n\", pair 1, key \"FormatStr\" is missing"},
        {replaced(rule, "false", "true"), "rule 1 \"n\", pair 1, key \"YBody\" is missing"},
        {replaced(rule, "}]}]", "}]}, {}]"), "rule 2, key \"Name\" is missing"},
    };
    write("in/w8h4_", "x");
    const std::string load = "Config file path: rules.json\n";
    const std::string error = "Error: failed to parse config file\n";
    const std::string fail = "Error: failed to match: in/w8h4_\n" + SKIP + "in/w8h4_\n";
    for (const auto& [document, logged] : cases) {
        write("rules.json", document);
        EXPECT_EQ(convert({"in/w8h4_", "in/w8h4_", "-crules.json"}),
                  "Output folder path: in\n" + load + error + MODE + fail + load + error + fail);
        EXPECT_EQ(takeLog(), log + logged + "\n" + log + logged + "\n");
    }
    convert({"in/w8h4_", "-c", "missing"});
    convert({"in/w8h4_", "-c", "in"}, "ASAN_OPTIONS=allocator_may_return_null=1");
    const std::string text = takeLog();
    EXPECT_EQ(
        text.find(log + "Failed to open file: missing, errno: 2, No such file or directory\n"), 0U);
    EXPECT_NE(text.find(log + "Failed to read file: in, fileSize: "), std::string::npos);
    // No rules are no failure, but are looked for again.
    write("rules.json", "[]");
    EXPECT_EQ(convert({"in/w8h4_", "in/w8h4_", "-crules.json"}),
              "Output folder path: in\n" + load + MODE + fail + load + fail);
    EXPECT_EQ(takeLog(), "");
}

TEST(Match, LongNamesAndHostilePatternsEndWithAResult) {
    const std::string name = "vdec_output_" + std::string(PATH_MAX - 40, 'W') + "W64H32_s_Y.x";
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
