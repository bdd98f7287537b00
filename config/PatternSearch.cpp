#include "config/PatternSearch.h"

#include <sys/auxv.h>
#include <sys/resource.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <map>
#include <string_view>

namespace {

#ifdef VEX_SANITIZE                       // which widens the matcher's frames
constexpr size_t STACK_PER_STATE = 2048;  // bytes
#else
constexpr size_t STACK_PER_STATE = 512;
#endif
constexpr size_t STACK_PER_CHARACTER = 128;
constexpr size_t MAX_WORK = 1 << 23;  // bytes of the name times the pattern's weight

// What the search under way may still take.
struct Budget {
    uint32_t steps = UINT32_MAX;
    uintptr_t lowestStack = 0;
    size_t maxStates = 0;
} budget;

// Ends a compilation or search as the standard library itself would.
void charge();

// libstdc++'s compiler asks for its limit whenever it adds a state, so at each level of its
// recursion.
[[maybe_unused]] size_t chargeState() {
    charge();
    return budget.maxStates;
}

}  // namespace

#define _GLIBCXX_REGEX_STATE_LIMIT chargeState()
#include <regex>

namespace {

void charge() {
    if (budget.steps == 0 ||
        reinterpret_cast<uintptr_t>(__builtin_frame_address(0)) < budget.lowestStack) {
        throw std::regex_error(std::regex_constants::error_complexity);
    }
    --budget.steps;
}

// Charges each time it is made, copied or compared. libstdc++'s matcher does one of these in every
// step that could otherwise be repeated without end, libc++'s compiler at each level of its
// recursion.
struct BoundedIterator {
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    explicit BoundedIterator(const char* position = nullptr) : at(position) { charge(); }
    BoundedIterator(const BoundedIterator& other) : at(other.at) { charge(); }
    BoundedIterator& operator=(BoundedIterator other) {
        at = other.at;
        return *this;
    }
    ~BoundedIterator() = default;

    reference operator*() const { return *at; }
    BoundedIterator& operator++() { return ++at, *this; }
    BoundedIterator& operator--() { return --at, *this; }
    BoundedIterator operator++(int) { return BoundedIterator(at++); }
    BoundedIterator operator--(int) { return BoundedIterator(at--); }
    friend bool operator==(const BoundedIterator& a, const BoundedIterator& b) {
        charge();
        return a.at == b.at;
    }
    friend bool operator!=(const BoundedIterator& a, const BoundedIterator& b) { return !(a == b); }

    const char* at;
};

#ifdef _LIBCPP_VERSION
// libc++ gives up a match after 4,096 steps for each byte of the name, but counts anew from each
// byte at which the match could start. So its matches start at the name's first byte and skip
// to the occurrence.
using Position = const char*;
constexpr const char* SKIP = "[\\s\\S]*?";
constexpr auto SEARCH_FLAGS = std::regex_constants::match_continuous;
#else
using Position = BoundedIterator;
constexpr const char* SKIP = "";
constexpr auto SEARCH_FLAGS = std::regex_constants::match_default;
#endif

// Three quarters of the main thread's stack, whose top holds the program's name, are for the
// recursion that is charged. The last quarter is for what is not: libstdc++'s matcher descends
// through empty alternatives, and libc++ destroys an expression recursively.
size_t maxStack() {
    constexpr rlim_t MAX = 64 << 20;
    rlimit limit = {MAX, MAX};
    getrlimit(RLIMIT_STACK, &limit);
    return static_cast<size_t>(std::min(MAX, limit.rlim_cur));
}

// The steps that a look-ahead takes each time it is tried.
struct LookAhead {
    size_t bytes = 0;    // of its body; npos when it has groups or alternatives
    size_t repeats = 0;  // quantifiers in it, each of which may run to the name's end; or 1
                         // where it has a bracket expression
};

// The look-ahead whose body this text starts with.
LookAhead measure(std::string_view text) {
    LookAhead ahead;
    bool hasBrackets = false;
    while (ahead.bytes < text.size() && text[ahead.bytes] != ')') {
        const char c = text[ahead.bytes];
        if (c == '(' || c == '|') {
            return {std::string::npos, 0};
        }
        if (c == '[') {
            ahead.bytes = std::min(text.find(']', ahead.bytes), text.size());
            hasBrackets = true;
        }
        ahead.repeats += std::string_view("*+?{").find(c) != std::string::npos ? 1 : 0;
        ahead.bytes += c == '\\' ? 2 : 1;
    }
    ahead.repeats = std::max<size_t>(ahead.repeats, hasBrackets ? 1 : 0);
    return ahead;
}

// A measure of how long a step of libc++'s matcher may take: it copies all groups and counters,
// walks through a bracket expression, or matches a whole look-ahead.
struct Weight {
    size_t ofPattern = 0;
    size_t ofNameByte = 0;
};

// Steps within a look-ahead are counted apart. So one that runs through the name with one
// quantifier is only allowed where nothing repeats it, outside of groups, and one that can take
// many steps only where it is tried once, after the ^ that starts the pattern. Elsewhere they make
// the pattern too heavy for any name.
Weight weightOf(const LookAhead& ahead, bool inGroup, bool atStart) {
    if (ahead.repeats == 0 && ahead.bytes != std::string::npos) {
        return {64 * ahead.bytes, 0};
    }
    if (ahead.repeats == 1 && !inGroup) {
        return {0, 128};
    }
    return {atStart ? 0 : SIZE_MAX / 2, 0};
}

Weight weigh(std::string_view pattern, size_t groups) {
    size_t heaviest = 0;
    size_t ofNameByte = 0;
    int depth = 0;
    for (size_t at = 0; at < pattern.size(); ++at) {
        const std::string_view opening = pattern.substr(at, 3);
        if (opening == "(?=" || opening == "(?!") {
            const Weight weight =
                weightOf(measure(pattern.substr(at + 3)), depth > 0, pattern.substr(0, at) == "^");
            heaviest = std::max(heaviest, weight.ofPattern);
            ofNameByte += weight.ofNameByte;
        }
        switch (pattern[at]) {
            case '\\':
                ++at;
                break;
            case '(':
                ++depth;
                break;
            case ')':
                --depth;
                break;
            default:
                break;
        }
    }
    return {pattern.size() + 8 * groups + heaviest, ofNameByte};
}

// The pattern with an assertion that always holds before each back reference: libstdc++'s matcher
// is charged for it, but not for a reference to a group that took no part.
std::string withChargedReferences(const std::string& pattern) {
    std::string charged;
    for (size_t at = 0, next = 0; at < pattern.size(); at = next) {
        next = at + 1;
        bool isReference = false;
        if (pattern[at] == '\\') {
            next = std::min(pattern.find_first_not_of("0123456789", next), pattern.size());
            isReference = next > at + 1 && pattern[at + 1] != '0';
            next = std::max(next, at + 2);
        }
        const std::string piece = pattern.substr(at, next - at);
        charged += isReference ? "(?:(?:\\b|\\B)" + piece + ")" : piece;
    }
    return charged;
}

struct Compiled {
    std::regex expression;
    Weight weight;
    std::string error;
};

Compiled compile(const std::string& pattern) {
    constexpr int MAX_DIGITS = 18;  // libstdc++ reads numbers without a look at what they can hold
    const bool hasHugeNumber =
        std::search_n(pattern.begin(), pattern.end(), MAX_DIGITS + 1, '0',
                      [](char c, char) { return c >= '0' && c <= '9'; }) != pattern.end();
    if (hasHugeNumber || pattern.size() > maxStack() / STACK_PER_CHARACTER) {
        return {{}, {}, "the pattern or a number in it is too long"};
    }
    try {
        const char* text = pattern.data();
        // A pattern that is not valid alone, such as a)(b, may be valid between parentheses.
        const std::regex alone(BoundedIterator(text), BoundedIterator(text + pattern.size()));
        return {std::regex(SKIP + ("(?:" + withChargedReferences(pattern) + ")")),
                weigh(pattern, alone.mark_count()), ""};
    } catch (const std::exception& error) {  // not valid, beyond a bound, or no memory for it
        return {{}, {}, error.what()};
    }
}

}  // namespace

PatternSearch searchPattern(const std::string& name, const std::string& pattern,
                            uint32_t maxSteps) {
    static std::map<std::string, Compiled> compiled;
    if (compiled.size() == 256) {
        compiled.clear();
    }
    const size_t stack = maxStack();
    budget = {};  // for the iterators of the empty result
    std::match_results<Position> found;
    budget = {maxSteps, getauxval(AT_EXECFN) - stack / 4 * 3, stack / STACK_PER_STATE};
    const auto [entry, isNew] = compiled.try_emplace(pattern);
    Compiled& known = entry->second;
    if (isNew) {
        known = compile(pattern);
    }
    if (!known.error.empty()) {
        return {PatternSearch::FAILED, {}, known.error};
    }
    const size_t weight = known.weight.ofPattern + known.weight.ofNameByte * name.size();
    if (weight > MAX_WORK / (name.size() + 1)) {
        return {PatternSearch::FAILED, {}, "the pattern is too complex for a name of this length"};
    }
    PatternSearch search;
    const char* end = name.data() + name.size();
    try {
        if (std::regex_search(Position(name.data()), Position(end), found, known.expression,
                              SEARCH_FLAGS)) {
            search.outcome = PatternSearch::FOUND;
        }
        for (const auto& group : found) {
            const char* start = group.matched ? &*group.first : end;
            const char* stop = group.matched ? &*group.second : end;
            search.groups.push_back(
                {static_cast<size_t>(start - name.data()), static_cast<size_t>(stop - start)});
        }
    } catch (const std::exception& error) {  // beyond a bound, or no memory for it
        return {PatternSearch::FAILED, {}, error.what()};
    }
    return search;
}
