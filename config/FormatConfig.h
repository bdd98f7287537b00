// A format rule decodes the name of a dump file into the size and format of its frames.
// FileUtils::parseConfigFile in fileutils/ConfigLoader.cpp loads rules from JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class FormatConfig {
  public:
    // A pair says what a format code in a name stands for.
    struct FormatPair {
        std::string formatStr;    // the code as it stands in names; it is compared as text
        std::string colorFormat;  // a name of the color format catalogue
        int32_t widthAlignment;   // pixels
        int32_t heightAlignment;  // lines
        bool separate;            // the frame is a set of four files
        // Each text replaces the separate group of a name, which gives the name of a part file.
        // They are empty if separate is false.
        std::string yBody;
        std::string yHeader;
        std::string cBody;
        std::string cHeader;
    };

    // This neither compiles nor checks the pattern.
    FormatConfig(std::string ruleName, std::string ruleDescription, std::string rulePattern,
                 int32_t widthGroup, int32_t heightGroup, int32_t colorFormatGroup,
                 int32_t separateGroup, int32_t initialWidth, int32_t initialHeight,
                 int32_t initialWidthAlignment, int32_t initialHeightAlignment,
                 std::string initialColorFormat);

    // If two pairs have the same code, match uses the one that was added first.
    void addFormatPair(std::string pairFormatStr, std::string pairColorFormat,
                       int32_t pairWidthAlignment, int32_t pairHeightAlignment);
    void addFormatPair(std::string pairFormatStr, std::string pairColorFormat,
                       int32_t pairWidthAlignment, int32_t pairHeightAlignment, bool pairSeparate,
                       std::string yBody, std::string yHeader, std::string cBody,
                       std::string cHeader);

    // Searches the file's path for the pattern. If the pattern occurs, this fills the result fields
    // and returns true. It returns false and changes no field if the pattern doesn't occur, if the
    // width or height group holds no number of 32 bits, or if the standard library can't use the
    // pattern. It logs the last reason once for each pattern.
    bool match(std::string fileName);

    std::string name;
    std::string description;
    std::string pattern;    // ECMAScript
    bool separate = false;  // match fills this field too.
    // These are numbers of capture groups, which count from 1. A rule has no such group if the
    // pattern has none of that number.
    int32_t widthIndex;
    int32_t heightIndex;
    int32_t colorFormatIndex;
    int32_t separateStringIndex;    // the separate group, which differs in the four files of a set
    int32_t defaultWidth;           // pixels
    int32_t defaultHeight;          // lines
    int32_t defaultWidthAlignment;  // pixels
    int32_t defaultHeightAlignment;
    std::string defaultColorFormat;
    std::vector<FormatPair> formatPairs;
    // match fills these fields. Until then they have the defaults.
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

// These are the rules in use, in the order in which they are tried. The driver defines them, and
// loads them for the first name that it decodes.
extern std::vector<FormatConfig> formatConfigs;

// Returns a copy of the first rule in use that decodes the path, with the results of match.
std::optional<FormatConfig> findMatch(const std::string& path);
