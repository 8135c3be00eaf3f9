// UTFWide.h - long runs of ASCII on machines with vectors wider than the build may assume.
//
// The plain loops here become vector code of whatever width the enclosing function is compiled for;
// which function runs is decided by the machine. Without optimisation, and on other machines, the
// blocks of UTFBlocks.h do the work.
#pragma once

#include "UTFConversion.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace QX {

/// How many units are tested and converted at once; for fewer a call is not worth its cost.
inline constexpr std::ptrdiff_t kLongASCII = 128;

#if defined(__x86_64__) && defined(__OPTIMIZE__)

template <class SourceT, class TargetT>
[[gnu::always_inline]] inline std::ptrdiff_t
ConvertByLoops(const SourceT* __restrict source, TargetT* __restrict target, std::ptrdiff_t units)
{
    constexpr int kBytes = static_cast<int>(kLongASCII * sizeof(SourceT));
    // What is above ASCII in each unit of a word.
    constexpr uint64 kAbove = ~0ull / static_cast<SourceT>(~0ull) * static_cast<SourceT>(~0x7Full);
    std::ptrdiff_t done = 0;
    while (units - done >= kLongASCII) {
        uint64 all = 0;
        for (int i = 0; i < kBytes; i += 8) {
            uint64 word;
            std::memcpy(&word, reinterpret_cast<const char*>(source + done) + i, sizeof(word));
            all |= word;
        }
        if ((all & kAbove) != 0) {
            break;
        }
        for (int i = 0; i < kLongASCII; ++i) {
            target[done + i] = static_cast<TargetT>(source[done + i]);
        }
        // After the first block all stores are aligned; it is left only that far, and what it has
        // written behind that is written again.
        const std::uintptr_t misaligned = reinterpret_cast<std::uintptr_t>(target + done) % 64;
        done += kLongASCII - static_cast<std::ptrdiff_t>(misaligned / sizeof(TargetT));
    }
    return done;
}

template <class SourceT, class TargetT>
[[gnu::target("avx2"), gnu::noinline]] std::ptrdiff_t
ConvertWithAVX2(const SourceT* __restrict source, TargetT* __restrict target, std::ptrdiff_t units)
{
    return ConvertByLoops(source, target, units);
}

// Left alone, GCC uses half of these vectors; Clang has no such wish.
#if defined(__clang__)
#define QX_WIDEST_VECTORS "avx512f,avx512bw,avx512vl"
#else
#define QX_WIDEST_VECTORS "avx512f,avx512bw,avx512vl,prefer-vector-width=512"
#endif

template <class SourceT, class TargetT>
[[gnu::target(QX_WIDEST_VECTORS), gnu::noinline]] std::ptrdiff_t
ConvertWithAVX512(const SourceT* __restrict source, TargetT* __restrict target,
                  std::ptrdiff_t units)
{
    return ConvertByLoops(source, target, units);
}

#undef QX_WIDEST_VECTORS

/// Converts ASCII at the start of so many units and returns how many it has converted.
template <class SourceT, class TargetT>
[[gnu::always_inline]] inline std::ptrdiff_t ConvertLongASCII(const SourceT* source,
                                                              TargetT* target, std::ptrdiff_t units)
{
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl")) {
        return ConvertWithAVX512(source, target, units);
    }
    if (__builtin_cpu_supports("avx2")) {
        return ConvertWithAVX2(source, target, units);
    }
    return 0;
}

#else

template <class SourceT, class TargetT>
[[gnu::always_inline]] inline std::ptrdiff_t ConvertLongASCII(const SourceT*, TargetT*,
                                                              std::ptrdiff_t)
{
    return 0;
}

#endif

} // namespace QX
