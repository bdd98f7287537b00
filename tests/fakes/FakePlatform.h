// The device's libraries for tests: they record every call, make a chosen one fail, and know which
// resources the tool still holds.
#pragma once

#include <set>
#include <string>
#include <vector>

struct FakePlatform {
    std::vector<std::string> calls;   // name and arguments
    std::vector<std::string> log;     // messages as the tool formats them
    std::multiset<std::string> held;  // descriptors, handles, mappings, allocators, streams
    bool ion = false;
    int failNth = 0;         // the n-th call that can fail, counted from 1, fails,
    std::string failCall;    // or the calls of this name,
    int failOccurrence = 0;  // only this one of them, counted from 1; 0: all
    std::string failed;      // name of the call that failed last
    int failStatus = -5;     // what a failed call of the blit library or of ION returns
    int statusOnly = 0;      // what createJob returns although it gives a fence
    int lowest = 0;          // this descriptor, counted from 1, gets
    int lowestNumber = 1;    // this number; 1 is the lowest that a buffer may have
    int opened = 0;          // number of descriptors so far

    // Number of calls so far that could have failed.
    int canFail() const { return mCanFail; }
    // True when the call of that name is the one that fails.
    bool isChosen(const std::string& name);
    // Records a call that can fail; true when it succeeds.
    bool record(const std::string& name, const std::string& arguments);

  private:
    int mCanFail = 0;
    int mOccurrences = 0;
};

// The platform of the running test; a new one for each test.
extern FakePlatform* fakePlatform;

// The platform's descriptors count from here.
constexpr int FIRST_FAKE_FD = 100000;
