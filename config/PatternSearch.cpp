#include "config/PatternSearch.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <regex>

namespace {

// A pattern's text. The expression compiler descends once a character.
constexpr size_t MAX_PATTERN = 2048;  // bytes
// What a pattern expands to when its {n} are written out; the matcher may descend through all of
// it without looking at the name once.
constexpr size_t MAX_WEIGHT = 4096;
constexpr uint32_t MAX_STEPS = 10'000'000;
// The matcher descends a kilobyte or so for each character that a repeat takes.
constexpr rlim_t WANTED_STACK = 32 << 20;  // bytes

// Bytes that a search may take of the main thread's stack, which grows as far as the limit of the
// moment: half, since the matcher also descends without looking at the name.
uintptr_t stackBudget() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_STACK, &limit) != 0) {
        return 1 << 20;
    }
    if (limit.rlim_cur < WANTED_STACK) {
        limit.rlim_cur = std::min(WANTED_STACK, limit.rlim_max);
        setrlimit(RLIMIT_STACK, &limit);
        getrlimit(RLIMIT_STACK, &limit);
    }
    return std::min(WANTED_STACK, limit.rlim_cur) / 2;
}

// The bounds of one search, shared by all copies of its iterators.
struct Budget {
    uint32_t steps = MAX_STEPS;
    uintptr_t stackStart = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    uintptr_t maxStack = stackBudget();
};

// Walks a name and charges every look at it to the budget. A spent budget ends the search the way
// the standard's own matchers end one, by std::regex_error.
class BoundedIterator {
  public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    BoundedIterator() = default;
    BoundedIterator(const char* at, Budget& budget) : mAt(at), mBudget(&budget) {}

    const char* base() const { return mAt; }

    reference operator*() const { return *mAt; }
    BoundedIterator& operator++() {
        ++mAt;
        return *this;
    }
    BoundedIterator operator++(int) {
        BoundedIterator before = *this;
        ++mAt;
        return before;
    }
    BoundedIterator& operator--() {
        --mAt;
        return *this;
    }
    BoundedIterator operator--(int) {
        BoundedIterator before = *this;
        --mAt;
        return before;
    }
    friend bool operator==(const BoundedIterator& a, const BoundedIterator& b) {
        a.charge();
        return a.mAt == b.mAt;
    }
    friend bool operator!=(const BoundedIterator& a, const BoundedIterator& b) { return !(a == b); }

  private:
    void charge() const {
        if (mBudget == nullptr) {
            return;
        }
        if (mBudget->steps == 0) {
            throw std::regex_error(std::regex_constants::error_complexity);
        }
        --mBudget->steps;
        const auto stack = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
        if (stack < mBudget->stackStart && mBudget->stackStart - stack > mBudget->maxStack) {
            throw std::regex_error(std::regex_constants::error_stack);
        }
    }

    const char* mAt = nullptr;
    Budget* mBudget = nullptr;
};

// Index after the bracket expression that starts at the index.
size_t skipBrackets(const std::string& pattern, size_t at) {
    for (++at; at < pattern.size() && pattern[at] != ']'; ++at) {
        const char kind = at + 1 < pattern.size() ? pattern[at + 1] : '\0';
        if (pattern[at] == '\\') {
            at += kind == 'c' ? 2 : 1;
        } else if (pattern[at] == '[' && (kind == '.' || kind == ':' || kind == '=')) {
            // [.x.] and its like hide a ].
            const size_t end = pattern.find(kind, at + 2);
            at = end == std::string::npos ? pattern.size() : end + 1;
        }
    }
    return at;
}

// The larger of the numbers of {n}, {n,} or {n,m} at the index, at least 1.
size_t countOf(const std::string& pattern, size_t at) {
    size_t largest = 1;
    while (at < pattern.size() && pattern[at] != '}') {
        char* end = nullptr;
        const unsigned long number = strtoul(pattern.c_str() + at + 1, &end, 10);
        largest = std::max(largest, static_cast<size_t>(std::min(number, MAX_WEIGHT + 1)));
        at = std::max(at + 1, static_cast<size_t>(end - pattern.c_str()));
    }
    return largest;
}

// Number of characters, groups and alternatives of the pattern with its repeats written out, at
// most a little over MAX_WEIGHT. For a pattern that is not valid any number.
size_t weightOf(const std::string& pattern) {
    // Weights of the open groups, the whole pattern first, and of the last thing in the innermost.
    std::vector<size_t> open = {0};
    size_t last = 0;
    for (size_t at = 0; at < pattern.size() && open.front() <= MAX_WEIGHT; ++at) {
        switch (pattern[at]) {
            case '(':
                open.push_back(1);
                continue;
            case ')':
                if (open.size() == 1) {
                    return 0;
                }
                last = open.back();
                open.pop_back();
                break;
            case '{': {
                const size_t repeated = last * (countOf(pattern, at) - 1);
                last = std::min(last + repeated, MAX_WEIGHT + 1);
                open.back() = std::min(open.back() + repeated, MAX_WEIGHT + 1);
                at = std::min(pattern.find('}', at), pattern.size());
                continue;
            }
            case '[':
                at = skipBrackets(pattern, at);
                last = 1;
                break;
            case '\\':
                at += at + 1 < pattern.size() && pattern[at + 1] == 'c' ? 2 : 1;
                last = 1;
                break;
            case '*':
            case '+':
            case '?':
                open.back() += 1;
                continue;
            default:
                last = 1;
        }
        open.back() = std::min(open.back() + last, MAX_WEIGHT + 1);
    }
    return open.front();
}

// Compiling a bracket expression asks the collation key of all 256 characters; the standard traits
// look the locale's facets up for each. The key here is the one of the "C" locale that the tool
// runs in, at a quarter of the time a rule.
struct PlainTraits : std::regex_traits<char> {
    template <typename Iterator>
    string_type transform_primary(Iterator first, Iterator last) const {
        string_type key(first, last);
        for (char& c : key) {
            c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
        return key;
    }
};
using Expression = std::basic_regex<char, PlainTraits>;

PatternSearch failed(std::string error) {
    PatternSearch search;
    search.outcome = PatternSearch::FAILED;
    search.error = std::move(error);
    return search;
}

PatternSearch searchWithin(const std::string& name, const Expression& expression) {
    Budget budget;
    const BoundedIterator begin(name.data(), budget);
    const BoundedIterator end(name.data() + name.size(), budget);
    std::match_results<BoundedIterator> found;
    PatternSearch search;
    if (!std::regex_search(begin, end, found, expression)) {
        return search;
    }
    search.outcome = PatternSearch::FOUND;
    for (const auto& group : found) {
        const size_t offset =
            group.matched ? static_cast<size_t>(group.first.base() - name.data()) : name.size();
        const size_t length =
            group.matched ? static_cast<size_t>(group.second.base() - group.first.base()) : 0;
        search.groups.push_back({offset, length});
    }
    return search;
}

}  // namespace

PatternSearch searchPattern(const std::string& name, const std::string& pattern) {
    if (pattern.size() > MAX_PATTERN || weightOf(pattern) > MAX_WEIGHT) {
        return failed("the pattern is too long or repeats too often");
    }
    try {
        return searchWithin(name, Expression(pattern));
    } catch (const std::regex_error& error) {
        return failed(error.what());
    }
}
