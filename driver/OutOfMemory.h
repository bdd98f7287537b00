// Every program of this project reports a lack of memory in the same words.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <exception>

// From now on an allocation that fails and that nobody handles ends the process with this message
// and status 1. That includes a lack of memory for the exception itself, where the runtime calls
// std::terminate at once.
inline void exitWhenOutOfMemory() {
    std::set_terminate([] {
        fflush(stdout);
        fputs("Error: out of memory\n", stderr);
        _Exit(1);
    });
}
