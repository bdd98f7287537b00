// A Report is what probe-dump prints of a dump, as text or as JSON.
#pragma once

#include "Commands.h"
#include "DumpCheck.h"

struct Report {
    const DumpCheck& dump;
    const Search& search;
    const Conversion& conversion;
    bool isAfterRun;  // the outputs were checked
};

void printText(const Report& report);
void printJson(const Report& report);
