// This prints what probe-dump says of a dump, as text or as JSON, with commands that a user can
// paste into a shell. The options are those of the conversion that it proposes. If they name no
// output folder, the commands name the variable FOLDER.
#pragma once

#include "DumpCheck.h"

void printText(const DumpCheck& dump, const CommandLineOptions& options);
void printJson(const DumpCheck& dump, const CommandLineOptions& options);
