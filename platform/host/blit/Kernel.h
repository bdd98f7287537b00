// KERNEL marks a plain loop that is worth compiling for several levels of the processor.
#pragma once

// A resolver runs before a sanitizer is ready, so the clones stay out of such builds.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__)
#define KERNEL __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define KERNEL
#endif

// For templates that a KERNEL instantiates: their code must end up inside it.
#define KERNEL_INLINE inline __attribute__((always_inline))
