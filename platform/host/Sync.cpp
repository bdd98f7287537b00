// Sync fences for the host: a fence is an eventfd, signalled once it is readable.
#include <poll.h>
#include <sync/sync.h>
#include <unistd.h>

#include <cerrno>

int sync_wait(int fd, int timeout) {
    pollfd fence = {fd, POLLIN, 0};
    const long ready = TEMP_FAILURE_RETRY(poll(&fence, 1, timeout));
    if (ready < 0) {
        return -1;
    }
    if (ready == 0 || (fence.revents & POLLIN) == 0) {
        errno = ready == 0 ? ETIME : EINVAL;
        return -1;
    }
    return 0;
}
