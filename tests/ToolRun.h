// Runs the tool's own binaries as a user would.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "TestFiles.h"

struct ToolResult {
    int status;
    std::string out;
    std::string err;
};

class ToolTest : public testing::Test {
  protected:
    ToolTest() {
        std::filesystem::remove_all(mFolder);
        std::filesystem::create_directories(mFolder + "/in");
        std::filesystem::create_directories(mFolder + "/out");
    }
    ~ToolTest() override { std::filesystem::remove_all(mFolder); }

    // Runs the program in the test's folder, where the log goes to the file "log". Of the caller's
    // environment it sees the PATH alone, so that the tests mean the same on every machine.
    ToolResult run(const std::string& program, const std::vector<std::string>& arguments,
                   const std::string& environment = "") const {
        std::string command = "cd '" + mFolder +
                              "' && env -i PATH=\"$PATH\" HOME=. TERM=xterm LC_ALL=C.UTF-8 "
                              "VEX_HOST_LOG=log " +
                              environment + " '" + program + "'";
        for (const std::string& argument : arguments) {
            command += " '" + argument + "'";
        }
        const int status = system((command + " >stdout 2>stderr").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("stdout"), read("stderr")};
    }
    // The build's own, or the one that the variable names.
    static std::string converter() {
        const char* other = getenv("VEX_CONVERTER");
        return other != nullptr ? other : VEX_CONVERTER;
    }

    std::string read(const std::string& name) const { return readFile(mFolder + "/" + name); }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(mFolder + "/" + name, std::ios::binary) << text;
    }
    // The log's entries so far without their times; the next ones start anew.
    std::string takeLog() const {
        std::istringstream log(read("log"));
        std::filesystem::remove(mFolder + "/log");
        std::string entries;
        for (std::string line; std::getline(log, line);) {
            entries += line.substr(std::min<size_t>(24, line.size())) + "\n";
        }
        return entries;
    }
    const std::string mFolder = testFolder();
};
