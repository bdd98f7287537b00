// A rule with any pattern finds in any name what the standard library finds. The pattern ends at
// the first zero, and the name follows it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <regex>
#include <string>

#include "config/FormatConfig.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return setenv("VEX_HOST_LOG", "/dev/null", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string pattern = text.substr(0, text.find('\0'));
    const std::string name = text.substr(std::min(size, pattern.size() + 1));
    // Longer ones, and those that repeat a group by a number, may be searched for hours.
    if (pattern.size() > 20 || name.size() > 8 || pattern.find('{') != std::string::npos) {
        return 0;
    }
    std::smatch found;
    try {
        std::regex_search(name, found, std::regex(pattern));
    } catch (const std::exception&) {
        found = {};
    }
    FormatConfig rule("", "", pattern, -1, -1, 1, 2, 320, 240, 2, 2, "NV12");
    rule.addFormatPair(found.empty() ? "" : found.str(1), "CPQ", 32, 32, true, "Y.dat", "", "", "");
    std::string part;
    if (found.size() > 2) {
        part = name;
        part.replace(static_cast<size_t>(found.position(2)), static_cast<size_t>(found.length(2)),
                     "Y.dat");
    }
    if (rule.match(name) == found.empty() || rule.yBodyFile != part) {
        abort();
    }
    return 0;
}
