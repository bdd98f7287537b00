// Any pattern, up to the first zero, on any name, after it.
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "config/FormatConfig.h"
#include "config/PatternSearch.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return setenv("VEX_HOST_LOG", "/dev/null", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const size_t zero = text.find('\0');
    const std::string pattern = text.substr(0, zero);
    const std::string name = zero == std::string::npos ? text : text.substr(zero + 1, PATH_MAX);
    if (searchPattern(name, pattern, 100'000).outcome == PatternSearch::FAILED) {
        return 0;  // also what match would search for some seconds
    }
    FormatConfig rule("", "", pattern, 1, 2, 3, 4, 320, 240, 2, 2, "NV12");
    rule.addFormatPair("0x10F", "CPQ", 32, 32, true, "Y.dat", "Y.len", "C.dat", "C.len");
    const bool matched = rule.match(name);
    // A name that doesn't match leaves the defaults in place.
    if (!matched && (rule.width != 320 || rule.height != 240 || rule.separate)) {
        abort();
    }
    return 0;
}
