// A file stream that closes itself.
#pragma once

#include <cstdio>
#include <memory>

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};

using File = std::unique_ptr<FILE, CloseFile>;
