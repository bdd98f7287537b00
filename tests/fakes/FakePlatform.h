// The device's libraries for tests: they record every call, make a chosen one fail, and know which
// resources the tool still holds.
#pragma once

#include <set>
#include <string>

struct FakePlatform {
    std::string calls;                // name and arguments, with a space after each call
    std::string log;                  // lines as the tool formats them
    std::multiset<std::string> held;  // descriptors, handles, mappings, allocators, streams
    bool ion = false;
    int failNth = 0;         // the n-th call that can fail, counted from 1, fails,
    std::string failCall;    // or the calls of this name,
    int failOccurrence = 0;  // only this one of them, counted from 1; 0: all
    std::string failed;      // name of the call that failed last
    int opened = 0;          // number of descriptors so far, without the number 1
    int canFail = 0;         // number of calls so far that could have failed

    // True when the call of that name is the one that fails.
    bool isChosen(const std::string& name);
    // Records a call that can fail; true when it succeeds.
    bool record(const std::string& name, const std::string& arguments);

  private:
    int mOccurrences = 0;
};

// The platform of the running test; a new one for each test.
extern FakePlatform* fakePlatform;

// The platform's descriptors have the lowest number that a buffer may have, 1, if that is free;
// else they count from here.
constexpr int FIRST_FAKE_FD = 100000;
