// The host's log, for programs that tell the user why a call of the device's libraries failed.
#pragma once

namespace host {

// The text of the latest log entry, as one line; empty if there is none yet. The next entry
// replaces it.
const char* lastLogEntry();

}  // namespace host
