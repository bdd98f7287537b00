// Unpacks strips of planes to the plain rows of their form.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Layout.h"

namespace host {

// Rows at a distance of pitch bytes.
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

// Unpacks lines rows of that many samples. from: the first row, or the block row that starts with
// it, its pitch the bytes of a row or of a block row. sampleBytes: of a plain sample. A block plane
// takes whole blocks of samples; lines beyond its last whole block row are not written.
void unpackPlane(const PlaneLayout& plane, int sampleBytes, ConstRows from, int samples, int lines,
                 Rows to);

// Makes Cr, Cb byte pairs Cb, Cr pairs, where they stand.
void swapChroma(Rows rows, int pairs, int lines);

// Interleaves two planes of chroma bytes.
void mergeChroma(ConstRows cb, ConstRows cr, int pairs, int lines, Rows to);

}  // namespace host
