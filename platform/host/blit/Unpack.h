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

// Unpacks rows of a plane. samples: per row, whole blocks in a plane of blocks. lines: rows to
// unpack; of a last block row that they don't fill nothing is written. from: the first row, or the
// block row that starts with it; its pitch is that of rows or of block rows. sampleBytes: of a
// sample in to.
void unpackPlane(const PlaneLayout& plane, int sampleBytes, ConstRows from, int samples, int lines,
                 Rows to);

// Interleaves a plane of Cb bytes and one of Cr bytes.
void mergeChroma(ConstRows cb, ConstRows cr, int pairs, int lines, Rows to);

}  // namespace host
