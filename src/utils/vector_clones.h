#ifndef _VECTOR_CLONES_H
#define _VECTOR_CLONES_H

// Marks a hot loop function for AVX-512 and AVX2 clones beside the baseline one, chosen when
// the program loads; the build keeps multiplications and additions apart (no contraction into
// fused operations), so every clone rounds as the baseline does. A ThreadSanitizer build
// defines SORVANE_NO_TARGET_CLONES: its runtime is not ready when the clone resolvers run, so
// it keeps the baseline only.
// SORVANE_POPCOUNT_CLONES does the same for the popcnt instruction: the baseline build
// counts bits in software.
#ifdef SORVANE_NO_TARGET_CLONES
#define SORVANE_VECTOR_CLONES
#define SORVANE_POPCOUNT_CLONES
#else
#define SORVANE_VECTOR_CLONES __attribute__((target_clones("avx512f", "avx2", "default")))
#define SORVANE_POPCOUNT_CLONES __attribute__((target_clones("popcnt", "default")))
#endif

#endif
