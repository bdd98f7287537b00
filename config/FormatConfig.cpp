#include "config/FormatConfig.h"

#include <android/log.h>

#include <cstdlib>
#include <set>

#include "config/PatternSearch.h"

std::vector<FormatConfig> formatConfigs;

namespace {

void reportOnce(const std::string& pattern, const std::string& error) {
    static std::set<std::string> reported;
    if (reported.insert(pattern).second) {
        __android_log_print(ANDROID_LOG_ERROR, "VexConverter-FormatConfig",
                            "FormatConfig::match: Failed to use pattern, %s: %s\n", error.c_str(),
                            pattern.c_str());
    }
}

// The capture groups of one occurrence of a pattern in a name.
class Occurrence {
  public:
    Occurrence(const std::string& name, const std::vector<PatternSearch::Group>& groups)
        : mName(name), mGroups(groups) {}

    bool inUse(int32_t index) const {
        return index >= 1 && static_cast<size_t>(index) < mGroups.size();
    }

    std::string text(int32_t index) const {
        const PatternSearch::Group& group = mGroups[static_cast<size_t>(index)];
        return mName.substr(group.offset, group.length);
    }

    // Sets value to the group's decimal number when the group is in use; false when it holds none
    // of 32 bits.
    bool readNumber(int32_t index, int32_t& value) const {
        if (!inUse(index)) {
            return true;
        }
        const std::string digits = text(index);
        char* end = nullptr;
        const long long number = strtoll(digits.c_str(), &end, 10);
        if (end == digits.c_str() || number < INT32_MIN || number > INT32_MAX) {
            return false;
        }
        value = static_cast<int32_t>(number);
        return true;
    }

    // The name with the group's text replaced.
    std::string nameWith(int32_t index, const std::string& replacement) const {
        const PatternSearch::Group& group = mGroups[static_cast<size_t>(index)];
        std::string changed = mName;
        return changed.replace(group.offset, group.length, replacement);
    }

  private:
    const std::string& mName;
    const std::vector<PatternSearch::Group>& mGroups;
};

}  // namespace

FormatConfig::FormatConfig(std::string ruleName, std::string ruleDescription,
                           std::string rulePattern, int32_t widthGroup, int32_t heightGroup,
                           int32_t colorFormatGroup, int32_t separateGroup, int32_t initialWidth,
                           int32_t initialHeight, int32_t initialWidthAlignment,
                           int32_t initialHeightAlignment, std::string initialColorFormat)
    : name(std::move(ruleName)),
      description(std::move(ruleDescription)),
      pattern(std::move(rulePattern)),
      widthIndex(widthGroup),
      heightIndex(heightGroup),
      colorFormatIndex(colorFormatGroup),
      separateStringIndex(separateGroup),
      defaultWidth(initialWidth),
      defaultHeight(initialHeight),
      defaultWidthAlignment(initialWidthAlignment),
      defaultHeightAlignment(initialHeightAlignment),
      defaultColorFormat(std::move(initialColorFormat)),
      width(defaultWidth),
      height(defaultHeight),
      widthAlignment(defaultWidthAlignment),
      heightAlignment(defaultHeightAlignment),
      colorFormat(defaultColorFormat) {}

void FormatConfig::addFormatPair(std::string pairFormatStr, std::string pairColorFormat,
                                 int32_t pairWidthAlignment, int32_t pairHeightAlignment) {
    addFormatPair(std::move(pairFormatStr), std::move(pairColorFormat), pairWidthAlignment,
                  pairHeightAlignment, false, "", "", "", "");
}

void FormatConfig::addFormatPair(std::string pairFormatStr, std::string pairColorFormat,
                                 int32_t pairWidthAlignment, int32_t pairHeightAlignment,
                                 bool pairSeparate, std::string yBody, std::string yHeader,
                                 std::string cBody, std::string cHeader) {
    formatPairs.push_back({std::move(pairFormatStr), std::move(pairColorFormat), pairWidthAlignment,
                           pairHeightAlignment, pairSeparate, std::move(yBody), std::move(yHeader),
                           std::move(cBody), std::move(cHeader)});
}

bool FormatConfig::match(std::string fileName) {
    const PatternSearch search = searchPattern(fileName, pattern);
    if (search.outcome == PatternSearch::FAILED) {
        reportOnce(pattern, search.error);
    }
    if (search.outcome != PatternSearch::FOUND) {
        return false;
    }
    const Occurrence occurrence(fileName, search.groups);
    int32_t foundWidth = width;
    int32_t foundHeight = height;
    if (!occurrence.readNumber(widthIndex, foundWidth) ||
        !occurrence.readNumber(heightIndex, foundHeight)) {
        return false;
    }
    width = foundWidth;
    height = foundHeight;
    if (!occurrence.inUse(colorFormatIndex)) {
        return true;
    }
    const std::string code = occurrence.text(colorFormatIndex);
    for (const FormatPair& pair : formatPairs) {
        if (pair.formatStr != code) {
            continue;
        }
        colorFormat = pair.colorFormat;
        widthAlignment = pair.widthAlignment;
        heightAlignment = pair.heightAlignment;
        separate = pair.separate;
        if (pair.separate && occurrence.inUse(separateStringIndex)) {
            yBodyFile = occurrence.nameWith(separateStringIndex, pair.yBody);
            yHeaderFile = occurrence.nameWith(separateStringIndex, pair.yHeader);
            cBodyFile = occurrence.nameWith(separateStringIndex, pair.cBody);
            cHeaderFile = occurrence.nameWith(separateStringIndex, pair.cHeader);
        }
        break;
    }
    return true;
}

std::optional<FormatConfig> findMatch(const std::string& path) {
    for (const FormatConfig& rule : formatConfigs) {
        FormatConfig copy = rule;
        if (copy.match(path)) {
            return copy;
        }
    }
    return std::nullopt;
}
