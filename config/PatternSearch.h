// Searches a name for a regular expression within bounds, so that a hostile pattern or a very long
// name neither overflows the stack nor takes more than some seconds. docs/configuration.md says
// what the bounds are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct PatternSearch {
    // Span of a capture group in the name. A group that took no part has the name's end as offset.
    struct Group {
        size_t offset;  // bytes
        size_t length;  // bytes
    };

    enum Outcome { FOUND, NOT_FOUND, FAILED };

    Outcome outcome = NOT_FOUND;
    std::vector<Group> groups;  // when found: group 0 ends where the match does
    std::string error;          // when failed: why the pattern can't be compiled or searched
};

// The first occurrence of the pattern (ECMAScript grammar) in the name. Patterns are compiled once.
// Steps are counted where the standard library is libstdc++.
PatternSearch searchPattern(const std::string& name, const std::string& pattern,
                            uint32_t maxSteps = 30'000'000);
