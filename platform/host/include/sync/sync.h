// These are sync fences (libsync).
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Waits until the fence signals, at most timeout milliseconds, or without limit if timeout is -1.
// Returns 0 if it has signalled, else -1.
int sync_wait(int fd, int timeout);

#ifdef __cplusplus
}
#endif
