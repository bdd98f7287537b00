// These functions unpack strips of planes to rows of their layout's linear format.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Layout.h"

namespace host {

// Each row starts pitch bytes after the one before it.
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

// Unpacks rowCount rows of a plane, each of which has that many samples. In a plane of blocks,
// samples and rowCount are a whole number of blocks, and from holds rows of blocks. A sample has
// sampleBytes bytes in to.
void unpackPlane(const PlaneLayout& plane, int sampleBytes, ConstRows from, int samples,
                 int rowCount, Rows to);

// Interleaves a plane of Cb bytes and one of Cr bytes.
void mergeChroma(ConstRows cb, ConstRows cr, int pairs, int rowCount, Rows to);

}  // namespace host
