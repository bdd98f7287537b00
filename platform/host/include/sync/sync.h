// Sync fences (libsync).
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Waits until the fence signals, at most timeout milliseconds (-1: without limit). Returns 0 if it
// has signalled, else -1.
int sync_wait(int fd, int timeout);

#ifdef __cplusplus
}
#endif
