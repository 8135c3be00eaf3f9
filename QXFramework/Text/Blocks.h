// Blocks.h - vectors of units, in the compilers' own form: SSE2 on x86-64, plain words where the
// target has no vector unit.
#pragma once

#include <QX/Types.h>

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace QX {

template <class UnitT, int kUnits>
struct BlockOf
{
    typedef UnitT type __attribute__((vector_size(sizeof(UnitT) * kUnits)));
};

template <class UnitT, int kUnits>
using Block = typename BlockOf<UnitT, kUnits>::type;

using Longs = Block<uint32, 4>;
using Words = Block<uint16, 8>;

// Blocks are handed over by reference: how a vector wider than the machine's is passed by value
// depends on the options of the compilation.
template <class BlockT, class UnitT>
[[gnu::always_inline]] inline void LoadBlock(BlockT& block, const UnitT* source)
{
    std::memcpy(&block, source, sizeof(BlockT));
}

template <class BlockT, class UnitT>
[[gnu::always_inline]] inline void StoreBlock(UnitT* target, const BlockT& block)
{
    std::memcpy(target, &block, sizeof(BlockT));
}

template <class BlockT>
[[gnu::always_inline]] inline bool IsZero(const BlockT& block)
{
#if defined(__SSE2__)
    if constexpr (sizeof(BlockT) == 16) {
        const __m128i zero = _mm_setzero_si128();
        return _mm_movemask_epi8(_mm_cmpeq_epi8(reinterpret_cast<__m128i>(block), zero)) == 0xFFFF;
    }
#endif
    uint64 parts[sizeof(BlockT) / sizeof(uint64)];
    std::memcpy(parts, &block, sizeof(BlockT));
    uint64 all = 0;
    for (const uint64 part : parts) {
        all |= part;
    }
    return all == 0;
}

/// Writes the units of the block in the target's width; the values fit.
///
/// Bytes become longs, and longs bytes, by way of words: GCC has no direct vector code for it.
template <class SourceT, int kUnits, class TargetT>
[[gnu::always_inline]] inline void StoreAs(TargetT* target, const Block<SourceT, kUnits>& block)
{
    if constexpr (sizeof(SourceT) == sizeof(TargetT)) {
        StoreBlock(target, block);
    } else if constexpr (sizeof(SourceT) + sizeof(TargetT) == 5) {
        const auto words = __builtin_convertvector(block, Block<uint16, kUnits>);
        StoreBlock(target, __builtin_convertvector(words, Block<TargetT, kUnits>));
    } else {
        StoreBlock(target, __builtin_convertvector(block, Block<TargetT, kUnits>));
    }
}

#if defined(__SSE2__)

/// Which of sixteen bytes have a set highest bit.
[[gnu::always_inline]] inline uint32 MaskOf(__m128i bytes)
{
    return static_cast<uint32>(_mm_movemask_epi8(bytes));
}

#endif

} // namespace QX
