// Every program of this project reports a lack of memory in the same words.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <new>

// After this call, the process ends with this message and status 1 if operator new gets no memory.
// _Exit runs no exit handlers, which could need memory, so standard output is flushed here.
inline void exitWhenOutOfMemory() {
    std::set_new_handler([] {
        fflush(stdout);
        fputs("Error: out of memory\n", stderr);
        _Exit(1);
    });
}
