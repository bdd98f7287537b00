// Tests share this: tables of cases in tests/data, and folders to work in.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

// Returns a path that no other test uses, nor another run of the same test.
inline std::string testFolder() {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "-" + test->name();
    std::replace(name.begin(), name.end(), '/', '-');
    return testing::TempDir() + "vex-" + name + "-" + std::to_string(getpid());
}

// Returns the rows of a table in tests/data, without its comments.
inline std::vector<std::istringstream> tableRows(const std::string& name) {
    std::ifstream file(std::string(TEST_DATA) + "/" + name);
    std::vector<std::istringstream> rows;
    for (std::string line; std::getline(file, line);) {
        if (line[0] != '#') {
            rows.emplace_back(line);
        }
    }
    EXPECT_FALSE(rows.empty()) << name;
    return rows;
}

// Returns the same rows as tuples. White space separates the fields.
template <typename... Fields>
std::vector<std::tuple<Fields...>> table(const std::string& name) {
    std::vector<std::tuple<Fields...>> rows;
    for (std::istringstream& row : tableRows(name)) {
        std::apply([&row](auto&... fields) { (row >> ... >> fields); }, rows.emplace_back());
        EXPECT_FALSE(row.fail()) << name << ": " << row.str();
    }
    return rows;
}

inline std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

inline size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

// A FolderTest has a folder of its own.
class FolderTest : public testing::Test {
  protected:
    FolderTest() { std::filesystem::create_directory(mFolder); }
    ~FolderTest() override { std::filesystem::remove_all(mFolder); }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(mFolder + "/" + name, std::ios::binary) << text;
    }

    const std::string mFolder = testFolder();
};
