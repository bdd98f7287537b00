#include "config/FormatConfig.h"

#include <android/log.h>
#include <pthread.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <regex>

namespace {

// Calls work with a stack of that many bytes. If this thread's limit is lower, another thread makes
// the call, because a process can't always raise the limit. Returns false if there is no memory for
// that thread, which then calls nothing.
bool callWithStack(size_t bytes, std::function<void()> work) {
    rlimit limit = {};
    if (getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur >= bytes) {
        work();
        return true;
    }
    const auto start = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_attr_t attributes = {};
    pthread_t thread = {};
    pthread_attr_init(&attributes);
    const bool started = pthread_attr_setstacksize(&attributes, bytes) == 0 &&
                         pthread_create(&thread, &attributes, start, &work) == 0;
    if (started) {
        pthread_join(thread, nullptr);
    }
    pthread_attr_destroy(&attributes);
    return started;
}

// Returns the bytes of stack that a search for the pattern in the name may take. GCC's library
// compiles and searches by recursion. Ten nested groups in a repeat took 3 KB for each byte of the
// name, and 15 KB with sanitizers. The longest path has 4,096 bytes.
size_t stackFor(const std::string& pattern, const std::string& name) {
    constexpr size_t PER_BYTE = 16 << 10;
    constexpr size_t MAX = PER_BYTE * 4096;
    return std::min(MAX, PER_BYTE * (pattern.size() + name.size()));
}

struct Expression {
    std::optional<std::regex> compiled;  // empty if the library refused the pattern
    bool failureLogged = false;
};

// Returns the first occurrence of the pattern in the name, or an empty result if there is none.
std::smatch search(const std::string& name, const std::string& pattern) {
    // The expressions stay, because 2,000 names take 17 times as long if each is compiled anew.
    static std::map<std::string, Expression> expressions;
    const bool isNew = expressions.count(pattern) == 0;
    Expression& expression = expressions[pattern];
    std::smatch found;
    std::string failure;
    const bool called = callWithStack(stackFor(pattern, name), [&] {
        try {
            if (isNew) {
                expression.compiled.emplace(pattern);
            }
            if (expression.compiled) {
                std::regex_search(name, found, *expression.compiled);
            }
        } catch (const std::exception& error) {
            // The pattern is not valid, or the search takes too much.
            failure = error.what();
            found = {};
        }
    });
    if (!called) {
        failure = "no memory for the stack";
    }
    if (!failure.empty() && !expression.failureLogged) {
        __android_log_print(ANDROID_LOG_ERROR, "VexConverter-FormatConfig",
                            "FormatConfig::match: Failed to use pattern, %s: %s\n", failure.c_str(),
                            pattern.c_str());
        expression.failureLogged = true;
    }
    return found;
}

bool hasGroup(const std::smatch& found, int32_t group) {
    return group >= 1 && static_cast<size_t>(group) < found.size();
}

// Sets value to the group's decimal number if the pattern has the group. Returns false if the group
// holds no number of 32 bits.
bool readNumber(const std::smatch& found, int32_t group, int32_t& value) {
    if (!hasGroup(found, group)) {
        return true;
    }
    const std::string digits = found[static_cast<size_t>(group)];
    char* end = nullptr;
    const long long number = strtoll(digits.c_str(), &end, 10);
    if (end == digits.c_str() || number < INT32_MIN || number > INT32_MAX) {
        return false;
    }
    value = static_cast<int32_t>(number);
    return true;
}

// Returns the name with another text in place of the group's. If the group took no part in the
// match, its position is the end of the name.
std::string replaceGroup(const std::string& name, const std::smatch& found, int32_t group,
                         const std::string& replacement) {
    const auto index = static_cast<size_t>(group);
    return std::string(name).replace(static_cast<size_t>(found.position(index)),
                                     static_cast<size_t>(found.length(index)), replacement);
}

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
    const std::smatch found = search(fileName, pattern);
    int32_t foundWidth = width;
    int32_t foundHeight = height;
    if (found.empty() || !readNumber(found, widthIndex, foundWidth) ||
        !readNumber(found, heightIndex, foundHeight)) {
        return false;
    }
    width = foundWidth;
    height = foundHeight;
    if (!hasGroup(found, colorFormatIndex)) {
        return true;
    }
    const std::string code = found[static_cast<size_t>(colorFormatIndex)];
    const auto pair =
        std::find_if(formatPairs.begin(), formatPairs.end(),
                     [&code](const FormatPair& known) { return known.formatStr == code; });
    if (pair == formatPairs.end()) {
        return true;
    }
    colorFormat = pair->colorFormat;
    widthAlignment = pair->widthAlignment;
    heightAlignment = pair->heightAlignment;
    separate = pair->separate;
    if (separate && hasGroup(found, separateStringIndex)) {
        yBodyFile = replaceGroup(fileName, found, separateStringIndex, pair->yBody);
        yHeaderFile = replaceGroup(fileName, found, separateStringIndex, pair->yHeader);
        cBodyFile = replaceGroup(fileName, found, separateStringIndex, pair->cBody);
        cHeaderFile = replaceGroup(fileName, found, separateStringIndex, pair->cHeader);
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
