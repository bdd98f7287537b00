// getprogname() for C libraries that lack it.
#include <errno.h>
#include <stdlib.h>

const char* getprogname() { return program_invocation_short_name; }
