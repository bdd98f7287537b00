// These functions read the environment variables that configure the host. No other file reads the
// environment.
#pragma once

#include <cstdlib>
#include <cstring>

namespace host {

// Returns the board that the host imitates, which is the value of ro.board.platform, or null if
// none is set.
inline const char* boardPlatform() { return getenv("VEX_HOST_BOARD_PLATFORM"); }

// Returns the file for log entries, or null if there is none.
inline const char* logFile() {
    const char* path = getenv("VEX_HOST_LOG");
    return path == nullptr || *path == '\0' ? nullptr : path;
}

// Returns true if buffers come from ION instead of DMA-BUF heaps.
inline bool hasIon() {
    const char* ion = getenv("VEX_HOST_ION");
    return ion != nullptr && strcmp(ion, "1") == 0;
}

}  // namespace host
