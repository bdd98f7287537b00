// The device's libraries for tests: records every call, makes a chosen one fail, and knows what is
// still held.
#pragma once

#include <set>
#include <string>
#include <vector>

struct FakePlatform {
    std::vector<std::string> calls;   // name and arguments
    std::vector<std::string> log;     // messages, as given
    std::multiset<std::string> held;  // descriptors, handles, mappings, allocators, streams
    bool ion = false;
    int failNth = 0;         // the n-th call that can fail, counted from 1
    std::string failCall;    // or the calls of that name,
    int failOccurrence = 0;  // only that one of them, from 1; 0 for all
    int failStatus = -5;     // what a failed call of the blit library or of ION returns
    int statusOnly = 0;      // status of createJob beside a good fence
    int lowest = 0;          // the descriptor, counted from 1, that gets
    int lowestNumber = 1;    // this number, of which 1 is the least good one
    int opened = 0;          // descriptors so far

    // Calls that can fail so far.
    int canFail() const { return mCanFail; }
    // True when a call of that name is the one to fail.
    bool isChosen(const std::string& name);
    // Notes a call that can fail; true when it is to succeed.
    bool note(const std::string& name, const std::string& arguments);

  private:
    int mCanFail = 0;
    int mOccurrences = 0;
};

// The platform of the running test; a new one for each test.
extern FakePlatform* fakePlatform;

// Descriptors from here on are the platform's.
constexpr int FIRST_FAKE_FD = 100000;
