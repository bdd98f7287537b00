// These are the host's sync fences. A fence is an eventfd, which is signalled once it is readable.
#include <poll.h>
#include <sync/sync.h>
#include <unistd.h>

#include <cerrno>

int sync_wait(int fd, int timeout) {
    pollfd fence = {fd, POLLIN, 0};
    (void)TEMP_FAILURE_RETRY(poll(&fence, 1, timeout));
    return (fence.revents & POLLIN) != 0 ? 0 : -1;
}
