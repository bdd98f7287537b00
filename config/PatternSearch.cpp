#include "config/PatternSearch.h"

// States that an expression may have, its {n} written out. libstdc++ takes the number from here;
// its matcher may descend through all of them without looking at the name once.
#define _GLIBCXX_REGEX_STATE_LIMIT 4096

#include <sys/resource.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <exception>
#include <iterator>
#include <regex>

namespace {

// A pattern's text. The expression compiler descends once a character.
constexpr size_t MAX_PATTERN = 2048;  // bytes
constexpr uint32_t MAX_STEPS = 10'000'000;

// Bytes of the main thread's stack, which grows as far as the limit, that a search may take. A
// quarter stays for what the matcher descends between two looks at the name.
intptr_t stackBudget() {
    constexpr rlim_t MOST = 64 << 20;
    rlimit limit = {MOST, MOST};
    getrlimit(RLIMIT_STACK, &limit);
    return static_cast<intptr_t>(std::min(MOST, limit.rlim_cur) / 4 * 3);
}

intptr_t stackPosition() { return reinterpret_cast<intptr_t>(__builtin_frame_address(0)); }

// The bounds of one search, shared by all copies of its iterators.
struct Budget {
    uint32_t steps = MAX_STEPS;
    intptr_t stackStart = stackPosition();  // it grows downward
    intptr_t maxStack = stackBudget();

    // Ends a search the way the standard's own matchers end one.
    void charge() {
        if (steps-- == 0 || stackStart - stackPosition() > maxStack) {
            throw std::regex_error(std::regex_constants::error_complexity);
        }
    }
};

// Walks a name and charges every look at it to the budget; libc++ copies the name and keeps bounds
// and memory of its own.
struct BoundedIterator {
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    reference operator*() const { return *at; }
    BoundedIterator& operator++() { return ++at, *this; }
    BoundedIterator& operator--() { return --at, *this; }
    BoundedIterator operator++(int) { return {at++, budget}; }
    BoundedIterator operator--(int) { return {at--, budget}; }
    friend bool operator==(const BoundedIterator& a, const BoundedIterator& b) {
        if (a.budget != nullptr) {
            a.budget->charge();
        }
        return a.at == b.at;
    }
    friend bool operator!=(const BoundedIterator& a, const BoundedIterator& b) { return !(a == b); }

    const char* at = nullptr;
    Budget* budget = nullptr;
};

// A bracket expression asks the collation key of all 256 characters, for which the standard traits
// look up the locale's facets each time. This is the "C" locale's, in a quarter of the time a rule.
struct PlainTraits : std::regex_traits<char> {
    template <typename Iterator>
    string_type transform_primary(Iterator first, Iterator last) const {
        string_type key(first, last);
        std::transform(key.begin(), key.end(), key.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return key;
    }
};

}  // namespace

PatternSearch searchPattern(const std::string& name, const std::string& pattern) {
    if (pattern.size() > MAX_PATTERN) {
        return {PatternSearch::FAILED, {}, "the pattern is too long"};
    }
    PatternSearch search;
    try {
        const std::basic_regex<char, PlainTraits> expression(pattern);
        Budget budget;
        const char* end = name.data() + name.size();
        std::match_results<BoundedIterator> found;
        if (std::regex_search(BoundedIterator{name.data(), &budget}, BoundedIterator{end, &budget},
                              found, expression)) {
            search.outcome = PatternSearch::FOUND;
        }
        for (const auto& group : found) {
            const char* start = group.matched ? group.first.at : end;
            const char* stop = group.matched ? group.second.at : end;
            search.groups.push_back(
                {static_cast<size_t>(start - name.data()), static_cast<size_t>(stop - start)});
        }
    } catch (const std::exception& error) {  // not valid, beyond a bound, or no memory for it
        return {PatternSearch::FAILED, {}, error.what()};
    }
    return search;
}
