// Unpacks strips of planes to rows of their layout's linear format.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Layout.h"

namespace host {

// Rows that start pitch bytes after one another.
struct Rows {
    uint8_t* data;
    ptrdiff_t pitch;
};
struct ConstRows {
    const uint8_t* data = nullptr;
    ptrdiff_t pitch = 0;

    ConstRows() = default;
    ConstRows(const Rows& rows)  // NOLINT(google-explicit-constructor): rows can be read
        : data(rows.data), pitch(rows.pitch) {}
};

// Unpacks rows of a plane. samples: in each row. lines: the number of rows. In a plane of blocks
// both are a whole number of blocks, and from has rows of blocks. sampleBytes: of a sample in to.
void unpackPlane(const PlaneLayout& plane, int sampleBytes, ConstRows from, int samples, int lines,
                 Rows to);

// Interleaves a plane of Cb bytes and one of Cr bytes.
void mergeChroma(ConstRows cb, ConstRows cr, int pairs, int lines, Rows to);

}  // namespace host
