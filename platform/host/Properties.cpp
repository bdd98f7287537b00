// System properties for the host: ro.board.platform is the value of VEX_HOST_BOARD_PLATFORM.
#include <cutils/properties.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int property_get(const char* key, char* value, const char* default_value) {
    const char* board = getenv("VEX_HOST_BOARD_PLATFORM");
    const bool found = board != nullptr && strcmp(key, "ro.board.platform") == 0;
    snprintf(value, PROPERTY_VALUE_MAX, "%s", found ? board : default_value);
    return static_cast<int>(strlen(value));
}
