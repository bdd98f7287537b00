// Android system properties (libcutils).
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Longest property value in bytes, the terminating zero included.
#define PROPERTY_VALUE_MAX 92

// Copies the property, or default_value (not null) where it is not set, into value
// (PROPERTY_VALUE_MAX bytes) and returns its length.
int property_get(const char* key, char* value, const char* default_value);

#ifdef __cplusplus
}
#endif
