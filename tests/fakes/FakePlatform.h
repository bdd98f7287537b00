// These are the device's libraries for tests. They record every call, make a chosen one fail, and
// know which resources the tool still holds.
#pragma once

#include <functional>
#include <set>
#include <string>

struct FakePlatform {
    std::string calls;                // name and arguments, with a space after each call
    std::string log;                  // lines as the tool formats them
    std::multiset<std::string> held;  // descriptors, handles, mappings, allocators, streams
    bool ion = false;
    int failNth = 0;             // which of the calls that can fail does, from 1 on; 0: none
    std::string failCall;        // name of the calls that fail
    std::string failed;          // name of the call that failed last
    int canFail = 0;             // number of calls so far that could have failed
    std::function<int()> write;  // the bytes that a write takes, or the negated errno; none: all
    int opened = 0;              // number of descriptors so far, without the number 1
};

// This is the platform of the running test. Each test has a new one.
extern FakePlatform* fakePlatform;
