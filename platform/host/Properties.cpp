// These are the host's system properties. Only ro.board.platform can be set.
#include <cutils/properties.h>

#include <cstdio>
#include <cstring>

#include "Settings.h"

int property_get(const char* key, char* value, const char* default_value) {
    const char* board = host::boardPlatform();
    const bool found = board != nullptr && strcmp(key, "ro.board.platform") == 0;
    snprintf(value, PROPERTY_VALUE_MAX, "%s", found ? board : default_value);
    return static_cast<int>(strlen(value));
}
