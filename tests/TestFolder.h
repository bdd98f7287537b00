#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

// A folder name of the running test's own.
inline std::string testFolder() {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "-" + test->name();
    std::replace(name.begin(), name.end(), '/', '-');
    return testing::TempDir() + "vex-" + name;
}
