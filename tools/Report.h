// This prints what probe-dump says of a dump, as text or as JSON. The options are those of the
// conversion that it proposes.
#pragma once

#include "DumpCheck.h"

void printText(const DumpCheck& dump, const CommandLineOptions& options);
void printJson(const DumpCheck& dump, const CommandLineOptions& options);
