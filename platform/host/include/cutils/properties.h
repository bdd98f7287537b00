// These are Android's system properties (libcutils).
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// The longest value of a property has this many bytes, the terminating zero included.
#define PROPERTY_VALUE_MAX 92

// Copies the property, or default_value (not null) if it is not set, into value
// (PROPERTY_VALUE_MAX bytes) and returns its length.
int property_get(const char* key, char* value, const char* default_value);

#ifdef __cplusplus
}
#endif
