// A File closes its file stream when it goes away.
#pragma once

#include <cstdio>
#include <memory>

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};

using File = std::unique_ptr<FILE, CloseFile>;
