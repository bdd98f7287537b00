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

// Calls work with that many bytes of stack. If this thread's limit doesn't allow them, a thread is
// made for the call, because the limit may be one that can't be raised. Does nothing if there is no
// memory for it.
void callWithStack(size_t bytes, std::function<void()> work) {
    rlimit limit = {};
    if (getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur >= bytes) {
        work();
        return;
    }
    const auto start = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_attr_t attributes = {};
    pthread_t thread = {};
    pthread_attr_init(&attributes);
    if (pthread_attr_setstacksize(&attributes, bytes) == 0 &&
        pthread_create(&thread, &attributes, start, &work) == 0) {
        pthread_join(thread, nullptr);
    }
    pthread_attr_destroy(&attributes);
}

// Bytes of stack that a search for the pattern in the name may take. GCC's library compiles and
// searches recursively. Ten nested groups in a repeat took 3 KB for each byte of the name, and 15
// KB with sanitizers.
size_t stackFor(const std::string& pattern, const std::string& name) {
    constexpr size_t PER_BYTE = 16 << 10;
    constexpr size_t MAX = 64 << 20;
    return std::min(MAX, PER_BYTE * (pattern.size() + name.size()));
}

struct Expression {
    std::optional<std::regex> compiled;  // empty if that failed
    bool failureLogged = false;
};

// The first occurrence of the pattern in the name; empty if there is none.
std::smatch search(const std::string& name, const std::string& pattern) {
    // Expressions are kept: with each one compiled anew, 2,000 names take 17 times as long.
    static std::map<std::string, Expression> expressions;
    const bool isNew = expressions.count(pattern) == 0;
    Expression& expression = expressions[pattern];
    std::smatch found;
    std::string failure = "no memory for the stack";
    callWithStack(stackFor(pattern, name), [&] {
        failure.clear();
        try {
            if (isNew) {
                expression.compiled.emplace(pattern);
            }
            if (expression.compiled) {
                std::regex_search(name, found, *expression.compiled);
            }
        } catch (const std::exception& error) {  // not valid, or given up by the library
            failure = error.what();
            found = {};
        }
    });
    if (!failure.empty() && !expression.failureLogged) {
        __android_log_print(ANDROID_LOG_ERROR, "VexConverter-FormatConfig",
                            "FormatConfig::match: Failed to use pattern, %s: %s\n", failure.c_str(),
                            pattern.c_str());
        expression.failureLogged = true;
    }
    return found;
}

bool isInUse(const std::smatch& found, int32_t group) {
    return group >= 1 && static_cast<size_t>(group) < found.size();
}

// Sets value to the group's decimal number when the group is in use; false when it holds none of 32
// bits.
bool readNumber(const std::smatch& found, int32_t group, int32_t& value) {
    if (!isInUse(found, group)) {
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

// The name with the group's text replaced. A group that took no part stands at the name's end.
std::string withGroup(const std::string& name, const std::smatch& found, int32_t group,
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
    if (!isInUse(found, colorFormatIndex)) {
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
    if (separate && isInUse(found, separateStringIndex)) {
        yBodyFile = withGroup(fileName, found, separateStringIndex, pair->yBody);
        yHeaderFile = withGroup(fileName, found, separateStringIndex, pair->yHeader);
        cBodyFile = withGroup(fileName, found, separateStringIndex, pair->cBody);
        cHeaderFile = withGroup(fileName, found, separateStringIndex, pair->cHeader);
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
