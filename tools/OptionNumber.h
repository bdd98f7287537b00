// The numbers that options of the companions take.
#pragma once

#include <cstdlib>

// The number that the text is, from 1 to 1,000,000; else 0.
inline int parseOptionNumber(const char* text) {
    char* end = nullptr;
    const long number = strtol(text, &end, 10);
    return *text == '\0' || *end != '\0' || number < 1 || number > 1'000'000
               ? 0
               : static_cast<int>(number);
}
