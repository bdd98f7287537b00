// The C library's stdlib.h, with the getprogname() that the device's C library declares there.
#pragma GCC system_header
#include_next <stdlib.h>

#ifndef VEX_HOST_GETPROGNAME
#define VEX_HOST_GETPROGNAME
#ifdef __cplusplus
extern "C" {
#endif
// Last component of the program's invocation name; never null.
const char* getprogname(void);
#ifdef __cplusplus
}
#endif
#endif
