// Every program of this project reports a lack of memory in the same words.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <new>

// From now on the process ends with this message and status 1 when operator new finds no memory.
inline void exitWhenOutOfMemory() {
    std::set_new_handler([] {
        fflush(stdout);
        fputs("Error: out of memory\n", stderr);
        _Exit(1);
    });
}
