// UTFBlocksWide.h - several characters at once, between UTF-16 and UTF-32.
#pragma once

#include "UTFBlocks.h"

namespace QX {

/// Converts `kUnits` characters, a multiple of eight, if none is a surrogate.
template <int kUnits>
[[gnu::always_inline]] inline bool ConvertBasic(const UTF16* source, UTF32* target)
{
    Words outside = {};
    for (int i = 0; i < kUnits; i += 8) {
        Words units;
        LoadBlock(units, source + i);
        outside |= reinterpret_cast<Words>((units & 0xF800) == 0xD800);
    }
    if (!IsZero(outside)) {
        return false;
    }
    for (int i = 0; i < kUnits; i += 8) {
        Words units;
        LoadBlock(units, source + i);
        StoreAs<uint16, 8>(target + i, units);
    }
    return true;
}

/// Converts `kUnits` characters, a multiple of eight, if none is a surrogate or beyond the basic
/// plane.
template <int kUnits>
[[gnu::always_inline]] inline bool ConvertBasic(const UTF32* source, UTF16* target)
{
    Longs outside = {};
    for (int i = 0; i < kUnits; i += 4) {
        Longs units;
        LoadBlock(units, source + i);
        outside |= (units >> 16) | reinterpret_cast<Longs>((units & 0xF800u) == 0xD800u);
    }
    if (!IsZero(outside)) {
        return false;
    }
    for (int i = 0; i < kUnits; i += 8) {
        Block<uint32, 8> units;
        LoadBlock(units, source + i);
        StoreAs<uint32, 8>(target + i, units);
    }
    return true;
}

template <class SourceT, class TargetT>
[[gnu::always_inline]] inline bool TakeBlock(Cursor<SourceT, TargetT>& at)
{
    static_assert(sizeof(SourceT) + sizeof(TargetT) == 6);
    const SourceT* const start = at.source;
    while (at.Has(32, 32) && ConvertBasic<32>(at.source, at.target)) {
        at.Advance(32, 32);
    }
    while (at.Has(8, 8) && ConvertBasic<8>(at.source, at.target)) {
        at.Advance(8, 8);
    }
    return at.source != start || TakeSupplementary(at);
}

} // namespace QX
