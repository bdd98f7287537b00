// getprogname(), which the device's C library declares in stdlib.h.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Last component of the program's invocation name; never null.
const char* getprogname(void);

#ifdef __cplusplus
}
#endif
