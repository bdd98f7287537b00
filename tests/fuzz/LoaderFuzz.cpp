// The loader ends with a result if it gets any bytes as a configuration.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "config/FormatConfig.h"
#include "fileutils/FileUtils.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return setenv("VEX_HOST_LOG", "/dev/null", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const int file = memfd_create("configuration", 0);
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
        abort();
    }
    formatConfigs.clear();
    const int status = FileUtils::parseConfigFile("/proc/self/fd/" + std::to_string(file));
    if (status > 0 || (status < 0 && !formatConfigs.empty())) {
        abort();
    }
    return 0;
}
