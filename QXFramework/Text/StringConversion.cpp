// StringConversion.cpp - conversion of strings between their widths and from wide characters.

#include <QX/String.h>

#include "UTFCodec.h"
#include "UTFConversion.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <cwchar>
#include <new>
#include <utility>
#include <vector>

namespace QX {
namespace {

constexpr UTF16 kReplacement = kReplacementCharacter;

/// For StrLen, of a text of any length.
constexpr uint32 kNoLimit = 0xFFFFFFFE;

// Returns the first unpaired surrogate of the range, or its end. A high surrogate that is the last
// unit is not one: it is half a pair that the range cuts.
const UTF16* FindUnpairedSurrogate(const UTF16* unit, const UTF16* end)
{
    for (; unit != end; ++unit) {
        if (IsLowSurrogate(*unit)) {
            return unit;
        }
        if (!IsHighSurrogate(*unit)) {
            continue;
        }
        if (end - unit == 1) {
            return end;
        }
        if (!IsLowSurrogate(unit[1])) {
            return unit;
        }
        ++unit;
    }
    return end;
}

/// The well-formed units that the conversion to UTF-8 is given in place of a text. The conversion
/// itself would encode unpaired surrogates; a string has U+FFFD for each of them.
class WellFormedText
{
public:
    WellFormedText(const UTF16* source, std::size_t count)
        : mStart(source)
        , mEnd(source + count)
    {
        const UTF16* const unpaired = FindUnpairedSurrogate(mStart, mEnd);
        if (unpaired == mEnd) {
            return;
        }
        mCopy.assign(mStart, mEnd);
        UTF16* const end = mCopy.data() + count;
        UTF16* unit = mCopy.data() + (unpaired - mStart);
        mStart = mCopy.data();
        mEnd = end;
        while (unit != end) {
            *unit = kReplacement;
            unit += FindUnpairedSurrogate(unit, end) - unit;
        }
    }
    const UTF16* Start() const { return mStart; }
    const UTF16* End() const { return mEnd; }

private:
    const UTF16* mStart;
    const UTF16* mEnd;
    std::vector<UTF16> mCopy;
};

/// The new buffer that a conversion fills.
template <class UnitT>
class ConversionTarget
{
public:
    /// Returns whether a buffer can have so many units.
    static bool Fits(uint64 size) { return size * sizeof(UnitT) <= kUInt32Limit; }

    /// Requires: Fits(size).
    explicit ConversionTarget(uint64 size)
        : mBuffer(LTextBuffer::Create(static_cast<uint32>(size * sizeof(UnitT)), 0, false))
        , mStart(static_cast<UnitT*>(mBuffer->GetRawPtr()))
        , mNext(mStart)
        , mEnd(mStart != nullptr ? mStart + size : nullptr)
    {
        if (mStart == nullptr) {
            throw std::bad_alloc();
        }
    }

    /// Runs a conversion of [source, end), which continues where the last one stopped.
    template <class SourceT>
    bool Convert(ConversionResult (*convert)(const SourceT**, const SourceT*, UnitT**, UnitT*,
                                             ConversionFlags),
                 const SourceT* source, const SourceT* end)
    {
        return convert(&source, end, &mNext, mEnd, lenientConversion) == conversionOK;
    }

    /// Terminates what was converted, cuts it at its first NUL and puts it into `buffer`.
    ///
    /// Requires: the size was one more than what was converted.
    void MoveTo(RCPtr<LIBuffer>& buffer)
    {
        *mNext = 0;
        const UnitT* const terminator = std::find(mStart, mNext, UnitT{});
        mBuffer->Resize<UnitT>(static_cast<uint32>(terminator - mStart) + 1);
        if (mBuffer->GetRawPtr() == nullptr) {
            throw std::bad_alloc();
        }
        buffer = std::move(mBuffer);
    }

private:
    RCPtr<LIBuffer> mBuffer;
    UnitT* mStart;
    UnitT* mNext; ///< where the next unit goes
    UnitT* mEnd;
};

static_assert(sizeof(wchar_t) == 4, "wide characters are UTF-32");

// Converts from wide characters, some at a time: wchar_t is a type of its own, which must not be
// read through a pointer to another. `take` makes a unit of each.
template <class UnitT, class Take>
int32 ConvertWide(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count,
                  uint64 unitsPerCharacter,
                  ConversionResult (*convert)(const UTF32**, const UTF32*, UnitT**, UnitT*,
                                              ConversionFlags),
                  Take take)
{
    uint64 remaining = count < 0 ? uint64{std::wcslen(source)} + 1 : static_cast<uint64>(count);
    const uint64 size = remaining * unitsPerCharacter + 1;
    if (!ConversionTarget<UnitT>::Fits(size)) {
        return kResultFailure;
    }
    ConversionTarget<UnitT> target(size);
    std::array<UTF32, 256> units;
    bool converted = true;
    while (remaining != 0) {
        const auto portion = static_cast<std::size_t>(std::min<uint64>(remaining, units.size()));
        std::transform(source, source + portion, units.begin(), take);
        converted = target.Convert(convert, units.data(), units.data() + portion) && converted;
        source += portion;
        remaining -= portion;
    }
    target.MoveTo(buffer);
    return converted ? kResultSuccess : kResultFailure;
}

// Returns how many units of a string are to be converted, with the terminator if it has one.
template <class CharT>
int UnitCount(const StringT<CharT>& text, bool isTerminated)
{
    return static_cast<int>(
        std::min<uint64>(uint64{text.GetLength()} + (isTerminated ? 1 : 0), INT_MAX));
}

// A text that is too long for the other width has left no buffer.
template <class StringType>
void UseEmptyIfNull(RCPtr<LIBuffer>& buffer)
{
    if (buffer == nullptr) {
        buffer = StringType::GetEmpty().GetBuffer();
    }
}

} // namespace

String::StringT(const StringT<unsigned short, char>& other)
{
    ConvertToCharType(mBuffer, other.CStr(), UnitCount(other, other.IsTerminated()));
    UseEmptyIfNull<StringT>(mBuffer);
}

String::StringT(const unsigned short* text)
{
    ConvertToCharType(mBuffer, text, -1);
    UseEmptyIfNull<StringT>(mBuffer);
}

int32 String::ConvertToCharType(RCPtr<LIBuffer>& buffer, const unsigned short* source, int count)
{
    if (source == nullptr) {
        buffer = GetEmpty().mBuffer;
        return kResultSuccess;
    }
    const uint64 units = count < 0 ? uint64{StringT<unsigned short>::StrLen(source, kNoLimit)} + 1
                                   : static_cast<uint64>(count);
    const uint64 size = units * 4 + 1;
    if (!ConversionTarget<UTF8>::Fits(size)) {
        return kResultFailure;
    }
    if (units != 0 && source[0] == 0) {
        buffer = GetEmpty().mBuffer;
        return kResultSuccess;
    }
    const WellFormedText text(source, static_cast<std::size_t>(units));
    ConversionTarget<UTF8> target(size);
    const bool converted = target.Convert(&UTF16ToUTF8, text.Start(), text.End());
    target.MoveTo(buffer);
    return converted ? kResultSuccess : kResultFailure;
}

int32 String::ConvertToCharType(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count)
{
    const auto take = [](wchar_t character) {
        const auto unit = static_cast<UTF32>(character);
        return IsSurrogate(unit) ? UTF32{kReplacement} : unit;
    };
    return ConvertWide(buffer, source, count, 4, &UTF32ToUTF8, take);
}

String16::StringT(const StringT<char, unsigned short>& other)
{
    ConvertToCharType(mBuffer, other.CStr(), UnitCount(other, other.IsTerminated()));
    UseEmptyIfNull<StringT>(mBuffer);
}

String16::StringT(const char* text)
{
    ConvertToCharType(mBuffer, text, -1);
    UseEmptyIfNull<StringT>(mBuffer);
}

int32 String16::ConvertToCharType(RCPtr<LIBuffer>& buffer, const char* source, int count)
{
    if (source == nullptr) {
        buffer = GetEmpty().mBuffer;
        return kResultSuccess;
    }
    const uint64 bytes = count < 0 ? uint64{std::strlen(source)} + 1 : static_cast<uint64>(count);
    const uint64 size = bytes + 1;
    if (!ConversionTarget<UTF16>::Fits(size)) {
        return kResultFailure;
    }
    if (bytes != 0 && source[0] == '\0') {
        buffer = GetEmpty().mBuffer;
        return kResultSuccess;
    }
    const auto* const start = reinterpret_cast<const UTF8*>(source);
    ConversionTarget<UTF16> target(size);
    const bool converted = target.Convert(&UTF8ToUTF16, start, start + bytes);
    target.MoveTo(buffer);
    return converted ? kResultSuccess : kResultFailure;
}

int32 String16::ConvertToCharType(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count)
{
    const auto take = [](wchar_t character) { return static_cast<UTF32>(character); };
    return ConvertWide(buffer, source, count, 3, &UTF32ToUTF16, take);
}

} // namespace QX
