#include "ProgramName.h"

#include <errno.h>

const char* getprogname() { return program_invocation_short_name; }
