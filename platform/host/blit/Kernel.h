// KERNEL marks a function that gets one version per level of the processor (SSE2, AVX2, AVX-512).
// With SSE2 alone, the loops of color transforms take 2 to 3.5 times as long as with AVX-512.
#pragma once

// The function that selects the version runs before a sanitizer is initialized, so builds with one
// have a single version.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__)
#define KERNEL __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define KERNEL
#endif

// KERNEL_INLINE marks a function that a KERNEL calls. It must be compiled into each version.
#define KERNEL_INLINE inline __attribute__((always_inline))
