// A format rule: decodes the name of a dump file into the size and format of its frames. Rules are
// loaded from JSON by FileUtils::parseConfigFile in fileutils/ConfigLoader.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class FormatConfig {
  public:
    // What a format code in a name stands for.
    struct FormatPair {
        std::string formatStr;    // the code as names write it, compared as text
        std::string colorFormat;  // a name of the color format catalogue
        int32_t widthAlignment;   // pixels
        int32_t heightAlignment;  // lines
        bool separate;            // the frame is a set of four files
        // Texts that replace the separate group of a name; empty unless separate.
        std::string yBody;
        std::string yHeader;
        std::string cBody;
        std::string cHeader;
    };

    // Neither compiles nor checks the pattern.
    FormatConfig(std::string ruleName, std::string ruleDescription, std::string rulePattern,
                 int32_t widthGroup, int32_t heightGroup, int32_t colorFormatGroup,
                 int32_t separateGroup, int32_t initialWidth, int32_t initialHeight,
                 int32_t initialWidthAlignment, int32_t initialHeightAlignment,
                 std::string initialColorFormat);

    // Of two pairs with the same code the first one added counts.
    void addFormatPair(std::string pairFormatStr, std::string pairColorFormat,
                       int32_t pairWidthAlignment, int32_t pairHeightAlignment);
    void addFormatPair(std::string pairFormatStr, std::string pairColorFormat,
                       int32_t pairWidthAlignment, int32_t pairHeightAlignment, bool pairSeparate,
                       std::string yBody, std::string yHeader, std::string cBody,
                       std::string cHeader);

    // Searches the file's path for the pattern; when it occurs, fills the result fields and
    // returns true. False, with all fields unchanged, also for a pattern that the standard library
    // can't use (logged once a pattern), and for a width or height group without a number of 32
    // bits.
    bool match(std::string fileName);

    std::string name;
    std::string description;
    std::string pattern;    // ECMAScript
    bool separate = false;  // result
    // Numbers of capture groups, which count from 1. A number that no group has means none.
    int32_t widthIndex;
    int32_t heightIndex;
    int32_t colorFormatIndex;
    int32_t separateStringIndex;    // of the text that differs between the four files of a set
    int32_t defaultWidth;           // pixels
    int32_t defaultHeight;          // lines
    int32_t defaultWidthAlignment;  // pixels
    int32_t defaultHeightAlignment;
    std::string defaultColorFormat;
    std::vector<FormatPair> formatPairs;
    // Results of match; the defaults until then.
    int32_t width;
    int32_t height;
    int32_t widthAlignment;
    int32_t heightAlignment;
    std::string colorFormat;
    std::string yBodyFile;
    std::string yHeaderFile;
    std::string cBodyFile;
    std::string cHeaderFile;
};

// The rules in use, in the order in which they are tried; empty until they are loaded. The
// driver defines them, in driver/FileJob.cpp.
extern std::vector<FormatConfig> formatConfigs;

// A copy of the first rule in use that decodes the path, with what it found.
std::optional<FormatConfig> findMatch(const std::string& path);
