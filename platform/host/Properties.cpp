// System properties for the host: ro.board.platform is the value of VEX_HOST_BOARD_PLATFORM.
#include <cutils/properties.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int property_get(const char* key, char* value, const char* default_value) {
    const char* found =
        strcmp(key, "ro.board.platform") == 0 ? getenv("VEX_HOST_BOARD_PLATFORM") : nullptr;
    if (found == nullptr) {
        found = default_value == nullptr ? "" : default_value;
    }
    snprintf(value, PROPERTY_VALUE_MAX, "%s", found);
    return static_cast<int>(strlen(value));
}
