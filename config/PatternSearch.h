// Searches a name for a regular expression within fixed bounds, so that a hostile pattern or a very
// long name can neither overflow the stack nor search without end.
#pragma once

#include <cstddef>
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
    std::vector<Group> groups;  // when found: group 0 is the whole match
    std::string error;          // when failed: why the pattern can't be compiled or searched
};

// The first occurrence of the pattern (ECMAScript grammar) in the name.
PatternSearch searchPattern(const std::string& name, const std::string& pattern);
