// The environment variables that configure the host. No other file reads the environment.
#pragma once

#include <cstdlib>
#include <cstring>

namespace host {

// The board that the host imitates, the value of ro.board.platform; null when unset.
inline const char* boardPlatform() { return getenv("VEX_HOST_BOARD_PLATFORM"); }

// The file for log entries; null when there is none.
inline const char* logFile() {
    const char* path = getenv("VEX_HOST_LOG");
    return path == nullptr || *path == '\0' ? nullptr : path;
}

// True when buffers come from ION instead of DMA-BUF heaps.
inline bool hasIon() {
    const char* ion = getenv("VEX_HOST_ION");
    return ion != nullptr && strcmp(ion, "1") == 0;
}

}  // namespace host
