// A Report is what probe-dump prints of a dump, as text or as JSON, with commands that a user can
// paste into a shell.
#pragma once

#include <string>

#include "DumpCheck.h"

struct Report {
    const DumpCheck& dump;
    const Search& search;
    const std::string& outputFolder;  // that VexConverter takes
    const std::string& givenFolder;   // that -o gives; if it is empty, commands name no folder
    bool png;                         // commands write pictures
    bool isAfterRun;                  // the outputs were checked
};

void printText(const Report& report);
void printJson(const Report& report);
