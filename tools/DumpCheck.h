// This finds what a dump is, by its name or by options, and what becomes of it when VexConverter
// converts it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Candidates.h"
#include "Text.h"
#include "driver/CommandLine.h"

// A Verdict says what becomes of a dump. They go from the best to the worst.
enum class Verdict {
    CONVERTS,  // all of it
    PARTLY,    // whole frames are written, and the rest of the file is left out
    APPENDS,   // an output exists already, or another dump has the same
    WRONG,     // an output is written that is likely wrong
    NOTHING    // no output is written
};

struct DumpCheck {
    std::string path;                    // of a set of part files the one that was reached first
    std::string outputFolder;            // that VexConverter takes
    std::optional<std::string> rule;     // name of the rule that decodes the path
    Reading reading;                     // by the name or by options; UNKNOWN if nothing tells it
    std::vector<std::string> partFiles;  // of a set: the bodies and headers of luma, then chroma
    int64_t fileSize = 0;                // bytes; 0 for a set
    std::optional<int64_t> frames;       // whole ones; of a set 1, or 0 if it lacks bytes
    // These are the names of the files that VexConverter writes: the raw one, then the pictures. Of
    // more than 10,000 pictures only the first and the last are here.
    std::vector<std::string> outputs;
    std::vector<std::string> problems;    // sentences that say what is wrong and what to do
    Verdict verdict = Verdict::CONVERTS;  // of the worst problem
    std::vector<std::string> notes;       // sentences about what is no problem
    bool canBeRead = false;               // it is a regular file with frames, and no set
    Search search;                        // what its samples look like
    bool isAfterRun = false;              // the problems are those of written outputs

    // Adds a problem. The parts make up the text.
    template <typename... Parts>
    void add(Verdict itsVerdict, const Parts&... parts) {
        problems.push_back(concat(parts...));
        verdict = std::max(verdict, itsVerdict);
    }
    bool isSet() const { return !partFiles.empty(); }
    bool hasReading() const { return reading.format != ColorConvert::UNKNOWN; }
    // Returns who says what the reading is.
    const char* sayer() const { return rule ? "the name says" : "the options say"; }
    // Returns true if nothing tells the format, or if the file's size contradicts it.
    bool isUnknown() const { return !hasReading() || (frames && reading.cutOff); }
};

// Checks the dumps of one conversion, in the order in which VexConverter takes the files. The rules
// are loaded already. It looks at no samples.
std::vector<DumpCheck> checkDumps(const std::vector<std::string>& paths,
                                  const CommandLineOptions& options);

// Returns the sizes that the dump's name may mean: that of the rule, and numbers such as 1280x720.
std::vector<FrameSize> namedSizesOf(const DumpCheck& dump);

// Adds a problem for each output that is not in the folder after a conversion, or not whole.
void checkWrittenOutputs(DumpCheck& dump, const std::string& folder);
