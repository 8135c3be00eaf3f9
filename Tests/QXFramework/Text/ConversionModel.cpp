// ConversionModel.cpp - the slow and literal conversions.

#include "QXFramework/Text/ConversionModel.h"

namespace conversion {

namespace {

struct Range
{
    UTF8 lowest;
    UTF8 highest;

    bool Holds(UTF8 byte) const { return byte >= lowest && byte <= highest; }
};

struct Row
{
    std::size_t length;
    Range bytes[4];
};

// The Unicode Standard, table of well-formed UTF-8 byte sequences, row by row.
constexpr Row kWellFormed[] = {
    {1, {{0x00, 0x7F}}},
    {2, {{0xC2, 0xDF}, {0x80, 0xBF}}},
    {3, {{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}}},
    {3, {{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {3, {{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}}},
    {3, {{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}},
};

bool IsHigh(UTF32 unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLow(UTF32 unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Appends a character if it fits.
template <class TargetT>
bool Append(Outcome<TargetT>& outcome, UTF32 value, std::size_t room)
{
    const Units<TargetT> units = Encode<TargetT>(value);
    if (outcome.produced.size() + units.size() > room) {
        return false;
    }
    outcome.produced.insert(outcome.produced.end(), units.begin(), units.end());
    return true;
}

template <class TargetT>
Outcome<TargetT> Stop(Outcome<TargetT> outcome, ConversionResult result)
{
    outcome.result = result;
    return outcome;
}

template <class TargetT>
Outcome<TargetT> FromUTF16(const Units<UTF16>& source, std::size_t room, ConversionFlags flags)
{
    Outcome<TargetT> outcome;
    while (outcome.consumed < source.size()) {
        UTF32 value = source[outcome.consumed];
        std::size_t length = 1;
        if (IsHigh(value)) {
            if (outcome.consumed + 1 == source.size()) {
                return Stop(outcome, sourceExhausted);
            }
            const UTF32 next = source[outcome.consumed + 1];
            if (IsLow(next)) {
                value = 0x10000 + (value - 0xD800) * 1024 + (next - 0xDC00);
                length = 2;
            } else if (flags == strictConversion) {
                return Stop(outcome, sourceIllegal);
            }
        } else if (IsLow(value) && flags == strictConversion) {
            return Stop(outcome, sourceIllegal);
        }
        if (!Append(outcome, value, room)) {
            return Stop(outcome, targetExhausted);
        }
        outcome.consumed += length;
    }
    return outcome;
}

UTF32 Decode(const UTF8* bytes, std::size_t length)
{
    constexpr UTF32 kFirstByteOffset[] = {0, 0, 0xC0, 0xE0, 0xF0};
    UTF32 value = bytes[0] - kFirstByteOffset[length];
    for (std::size_t i = 1; i < length; ++i) {
        value = value * 64 + (bytes[i] - 0x80u);
    }
    return value;
}

template <class TargetT>
Outcome<TargetT> FromUTF8(const Units<UTF8>& source, std::size_t room)
{
    Outcome<TargetT> outcome;
    while (outcome.consumed < source.size()) {
        const UTF8* const bytes = source.data() + outcome.consumed;
        const std::size_t length = AnnouncedLength(bytes[0]);
        if (length > source.size() - outcome.consumed) {
            return Stop(outcome, sourceExhausted);
        }
        if (!IsWellFormed(bytes, length)) {
            return Stop(outcome, sourceIllegal);
        }
        if (!Append(outcome, Decode(bytes, length), room)) {
            return Stop(outcome, targetExhausted);
        }
        outcome.consumed += length;
    }
    return outcome;
}

} // namespace

template <>
Units<UTF8> Encode(UTF32 value)
{
    const auto byte = [](UTF32 number) { return static_cast<UTF8>(number); };
    if (value < 0x80) {
        return {byte(value)};
    }
    if (value < 0x800) {
        return {byte(0xC0 + value / 64), byte(0x80 + value % 64)};
    }
    if (value < 0x10000) {
        return {byte(0xE0 + value / 4096), byte(0x80 + value / 64 % 64), byte(0x80 + value % 64)};
    }
    return {byte(0xF0 + value / 262144), byte(0x80 + value / 4096 % 64),
            byte(0x80 + value / 64 % 64), byte(0x80 + value % 64)};
}

template <>
Units<UTF16> Encode(UTF32 value)
{
    if (value < 0x10000) {
        return {static_cast<UTF16>(value)};
    }
    return {static_cast<UTF16>(0xD800 + (value - 0x10000) / 1024),
            static_cast<UTF16>(0xDC00 + (value - 0x10000) % 1024)};
}

template <>
Units<UTF32> Encode(UTF32 value)
{
    return {value};
}

std::size_t AnnouncedLength(UTF8 firstByte)
{
    constexpr struct
    {
        Range first;
        std::size_t length;
    } kLengths[] = {
        {{0x00, 0xBF}, 1}, {{0xC0, 0xDF}, 2}, {{0xE0, 0xEF}, 3},
        {{0xF0, 0xF7}, 4}, {{0xF8, 0xFB}, 5}, {{0xFC, 0xFF}, 6},
    };
    for (const auto& row : kLengths) {
        if (row.first.Holds(firstByte)) {
            return row.length;
        }
    }
    return 0;
}

bool IsWellFormed(const UTF8* bytes, std::size_t length)
{
    for (const Row& row : kWellFormed) {
        bool holds = row.length == length;
        for (std::size_t i = 0; holds && i < length; ++i) {
            holds = row.bytes[i].Holds(bytes[i]);
        }
        if (holds) {
            return true;
        }
    }
    return false;
}

template <>
Outcome<UTF32> RunModel(const Units<UTF16>& source, std::size_t room, ConversionFlags flags)
{
    return FromUTF16<UTF32>(source, room, flags);
}

template <>
Outcome<UTF8> RunModel(const Units<UTF16>& source, std::size_t room, ConversionFlags flags)
{
    return FromUTF16<UTF8>(source, room, flags);
}

template <>
Outcome<UTF16> RunModel(const Units<UTF8>& source, std::size_t room, ConversionFlags)
{
    return FromUTF8<UTF16>(source, room);
}

template <>
Outcome<UTF32> RunModel(const Units<UTF8>& source, std::size_t room, ConversionFlags)
{
    return FromUTF8<UTF32>(source, room);
}

template <>
Outcome<UTF16> RunModel(const Units<UTF32>& source, std::size_t room, ConversionFlags flags)
{
    Outcome<UTF16> outcome;
    for (; outcome.consumed < source.size(); ++outcome.consumed) {
        UTF32 value = source[outcome.consumed];
        if (outcome.produced.size() >= room) {
            return Stop(outcome, targetExhausted);
        }
        if (IsHigh(value) || IsLow(value)) {
            if (flags == strictConversion) {
                return Stop(outcome, sourceIllegal);
            }
            value = 0xFFFD;
        }
        if (value > 0x10FFFF) {
            if (flags == strictConversion) {
                outcome.result = sourceIllegal;
                continue;
            }
            value = 0xFFFD;
        }
        if (!Append(outcome, value, room)) {
            return Stop(outcome, targetExhausted);
        }
    }
    return outcome;
}

template <>
Outcome<UTF8> RunModel(const Units<UTF32>& source, std::size_t room, ConversionFlags flags)
{
    Outcome<UTF8> outcome;
    for (; outcome.consumed < source.size(); ++outcome.consumed) {
        UTF32 value = source[outcome.consumed];
        if ((IsHigh(value) || IsLow(value)) && flags == strictConversion) {
            return Stop(outcome, sourceIllegal);
        }
        if (value > 0x10FFFF) {
            outcome.result = sourceIllegal;
            value = 0xFFFD;
        }
        if (!Append(outcome, value, room)) {
            return Stop(outcome, targetExhausted);
        }
    }
    return outcome;
}

} // namespace conversion
