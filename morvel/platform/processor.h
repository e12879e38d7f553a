#pragma once

// SIMD code beyond the baseline that every x86-64 has. Internal: no public header includes this
// file. Whoever uses it keeps a portable path beside it, for other processors and for older ones,
// and a test holds the two against each other:
//
//     #if MORVEL_HAS_SSE42_CODE
//     MORVEL_SSE42 bool _quickly(...) { ... _mm_shuffle_epi8(...) ... }
//     #endif
//     ... MORVEL_HAS_SSE42_CODE && morvel::platform::HasSse42() ? _quickly(...) : _portably(...)
//
// Registers of 16 bytes are as wide as this goes: functions for Windows can't rely on a stack that
// is aligned for wider ones.

#if defined(__x86_64__) || defined(_M_X64)
#define MORVEL_HAS_SSE42_CODE 1
#include <nmmintrin.h>
#if defined(__GNUC__)
#include <cpuid.h>
#else
#include <intrin.h>
#endif
#else
#define MORVEL_HAS_SSE42_CODE 0
#endif

/// Marks a function that may use everything up to SSE 4.2, and POPCNT. Such a function is not
/// inlined into one that is not marked.
#if defined(__GNUC__)
#define MORVEL_SSE42 __attribute__((target("sse4.2,popcnt")))
#else
#define MORVEL_SSE42
#endif

namespace morvel::platform {

/// Whether this processor runs functions marked MORVEL_SSE42, as nearly all since 2008 do. Cheap
/// enough to be asked at each call.
#if !MORVEL_HAS_SSE42_CODE
constexpr bool HasSse42() {
    return false;
}
#else
/// The index of the lowest 1 in `bits`. REQUIRES: there is one.
inline unsigned LowestOne(unsigned long long bits) {
#if defined(__GNUC__)
    return static_cast<unsigned>(__builtin_ctzll(bits));
#else
    unsigned long index;
    _BitScanForward64(&index, bits);
    return index;
#endif
}

inline bool HasSse42() {
    // Not the compiler's own answer: that comes with an initialiser at load.
    static const bool has = [] {
        unsigned registers[4] = {};
#if defined(__GNUC__)
        __get_cpuid(1, &registers[0], &registers[1], &registers[2], &registers[3]);
#else
        __cpuid(reinterpret_cast<int*>(registers), 1);
#endif
        constexpr unsigned Needed = 1u << 20 | 1u << 23;  // in ECX: SSE 4.2, POPCNT
        return (registers[2] & Needed) == Needed;
    }();
    return has;
}
#endif

}  // namespace morvel::platform
