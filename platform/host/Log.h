// Programs read the host's log here, to tell the user why a call of the device's libraries failed.
#pragma once

namespace host {

// Returns the text of the latest log entry as one line, which is empty if there is none yet. The
// next entry replaces it.
const char* lastLogEntry();

}  // namespace host
