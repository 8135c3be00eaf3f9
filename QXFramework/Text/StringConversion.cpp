// StringConversion.cpp - conversion of strings between their widths, from wide characters, and to
// numbers.

#include <QX/String.h>

#include "TextElements.h"
#include "UTFConversion.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <type_traits>
#include <utility>

namespace QX {
namespace {

/// For StrLen, of a text of any length.
constexpr uint32 kNoLimit = 0xFFFFFFFE;

uint32 LengthOf(const UTF8* units, uint32 count)
{
    return LengthWithin(reinterpret_cast<const char*>(units), count);
}

uint32 LengthOf(const UTF16* units, uint32 count)
{
    return LengthWithin(units, count);
}

/// How many bytes too large a text buffer's block may be.
constexpr uint32 kSlack = 128;
static_assert(std::is_same_v<LTextBuffer, LBufferT<1, kSlack, 8>>);

/// Texts of up to so many bytes are converted on the stack.
constexpr uint32 kAreaSize = 2048;

/// What a conversion has made of a block.
struct Filled
{
    uint32 textBytes; ///< with the terminator
    uint32 keptBytes; ///< the size of the block when it has been cut to the text
    ConversionResult result;
};

/// Where the units that are converted can have a NUL.
enum class Nul
{
    kAnywhere,
    kLast ///< as the last unit, or nowhere
};

// Converts into the `bytes` bytes at `start`, terminates the text at its first NUL, and zeros what
// the block keeps after it.
template <class UnitT, class Convert>
Filled FillUnits(UnitT* start, uint32 bytes, Nul nul, Convert convert)
{
    UnitT* next = start;
    const ConversionResult result = convert(&next, start + bytes / sizeof(UnitT));
    const auto count = static_cast<uint32>(next - start);
    const bool endsWithNul = count != 0 && next[-1] == 0;
    const uint32 length =
        nul == Nul::kLast ? count - (endsWithNul ? 1 : 0) : LengthOf(start, count);
    const uint32 textBytes = (length + 1) * uint32{sizeof(UnitT)};
    const uint32 keptBytes = bytes - textBytes <= kSlack ? bytes : textBytes;
    std::memset(start + length, 0, keptBytes - length * sizeof(UnitT));
    return {textBytes, keptBytes, result};
}

// Replaces `buffer` by one with `size` units, of which `convert` fills less than all, and which is
// then cut at its first NUL. `convert` takes the address of the next unit and the end, moves the
// first on, and returns a ConversionResult.
template <class UnitT, class Convert>
int32 FillBuffer(RCPtr<LIBuffer>& buffer, uint64 size, Nul nul, Convert convert)
{
    if (size * sizeof(UnitT) > kUInt32Limit) {
        return kResultFailure;
    }
    const auto bytes = static_cast<uint32>(size * sizeof(UnitT));
    // The block of a short text is made as it would be after the cut, which costs more than a copy.
    const bool isShort = bytes <= kAreaSize;
    std::array<UnitT, kAreaSize / sizeof(UnitT)> area;
    Filled filled{};
    if (isShort) {
        filled = FillUnits(area.data(), bytes, nul, convert);
    }
    RCPtr<LIBuffer> target = LTextBuffer::Create(isShort ? filled.keptBytes : bytes, 0, false);
    auto* const start = static_cast<UnitT*>(target->GetRawPtr());
    if (start == nullptr) {
        throw std::bad_alloc();
    }
    if (isShort) {
        std::memcpy(start, area.data(), filled.keptBytes);
    } else {
        filled = FillUnits(start, bytes, nul, convert);
    }
    // A block that the heap does not cut is kept as it is.
    static_cast<LTextBuffer&>(*target).TryResizeBytes(filled.textBytes);
    buffer = std::move(target);
    return filled.result == conversionOK ? kResultSuccess : kResultFailure;
}

static_assert(sizeof(wchar_t) == 4, "wide characters are UTF-32");

// Converts from wide characters, some at a time: wchar_t is a type of its own, which must not be
// read through a pointer to another.
template <class UnitT>
int32 ConvertWide(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count,
                  uint64 unitsPerCharacter,
                  ConversionResult (*convert)(const UTF32**, const UTF32*, UnitT**, UnitT*,
                                              ConversionMode))
{
    const uint64 length = count < 0 ? uint64{std::wcslen(source)} + 1 : static_cast<uint64>(count);
    const auto convertAll = [=](UnitT** target, UnitT* targetEnd) {
        std::array<UTF32, 256> units;
        ConversionResult worst = conversionOK;
        for (uint64 done = 0; done < length; done += units.size()) {
            const uint64 portion = std::min<uint64>(length - done, units.size());
            std::copy_n(source + done, portion, units.begin());
            const UTF32* next = units.data();
            worst = std::max(worst, convert(&next, next + portion, target, targetEnd,
                                            ConversionMode::kReplacing));
        }
        return worst;
    };
    return FillBuffer<UnitT>(buffer, length * unitsPerCharacter + 1, Nul::kAnywhere, convertAll);
}

// Returns whether a NUL follows the string's text, so that a C string ends where the text does.
template <class CharT>
bool IsTerminated(const StringT<CharT>& string, std::span<const CharT> text)
{
    const TextElements<CharT> elements(*string.GetBuffer());
    return text.size() < std::max<std::size_t>(elements.count, 1) && text.data()[text.size()] == 0;
}

// Returns the text of a string with its terminator, if it has one.
template <class CharT>
std::span<const CharT> GetUnits(const StringT<CharT>& string)
{
    const std::span<const CharT> text = string.GetText();
    return {text.data(), text.size() + (IsTerminated(string, text) ? 1 : 0)};
}

int32 ConvertToUTF8(RCPtr<LIBuffer>& buffer, const UTF16* source, uint64 length)
{
    return FillBuffer<UTF8>(buffer, length * 4 + 1, Nul::kAnywhere,
                            [=](UTF8** target, UTF8* targetEnd) {
                                const UTF16* next = source;
                                return UTF16ToUTF8(&next, source + length, target, targetEnd,
                                                   ConversionMode::kReplacing);
                            });
}

int32 ConvertToUTF16(RCPtr<LIBuffer>& buffer, const char* source, uint64 length, Nul nul)
{
    return FillBuffer<UTF16>(buffer, length + 1, nul, [=](UTF16** target, UTF16* targetEnd) {
        const auto* next = reinterpret_cast<const UTF8*>(source);
        return UTF8ToUTF16(&next, next + length, target, targetEnd);
    });
}

// The functions of the C library read up to a NUL, so a text without one is copied first.
template <class Parse>
auto ParseNumber(const String& text, Parse parse)
{
    return IsTerminated(text, text.GetText()) ? parse(text.CStr())
                                              : parse(String(std::string_view(text)).CStr());
}

} // namespace

String::StringT(const StringT<unsigned short, char>& other)
{
    const TextElements<unsigned short> elements(*other.GetBuffer());
    const std::span<const unsigned short> all(elements.first, elements.count);
    // All units of an unlocked text are converted, also after a NUL that another holder wrote: the
    // result is searched for a NUL anyway, and in less time than the source.
    const bool isLocked = other.IsLocked();
    const bool endsWithNul = !all.empty() && all.back() == 0;
    const bool takesAll = endsWithNul & !isLocked & (all.size() < kUInt32Limit / 4);
    const std::span<const unsigned short> units = takesAll ? all : GetUnits(other);
    if (units.data()[0] != 0) {
        ConvertToUTF8(mBuffer, units.data(), units.size());
    }
    if (mBuffer == nullptr) {
        mBuffer = GetEmpty().mBuffer;
    }
}

String::StringT(const unsigned short* text)
    : StringT()
{
    ConvertToCharType(mBuffer, text, -1);
}

int32 String::ConvertToCharType(RCPtr<LIBuffer>& buffer, const unsigned short* source, int count)
{
    if (source == nullptr || source[0] == 0) {
        buffer = GetEmpty().mBuffer;
        return kResultSuccess;
    }
    return ConvertToUTF8(buffer, source,
                         count < 0 ? uint64{StringT<unsigned short>::StrLen(source, kNoLimit)} + 1
                                   : static_cast<uint64>(count));
}

int32 String::ConvertToCharType(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count)
{
    return ConvertWide(buffer, source, count, 4, &UTF32ToUTF8);
}

String16::StringT(const StringT<char, unsigned short>& other)
{
    const std::span<const char> units = GetUnits(other);
    if (units.data()[0] != 0) {
        ConvertToUTF16(mBuffer, units.data(), units.size(), Nul::kLast);
    }
    if (mBuffer == nullptr) {
        mBuffer = GetEmpty().mBuffer;
    }
}

String16::StringT(const char* text)
    : StringT()
{
    ConvertToCharType(mBuffer, text, -1);
}

int32 String16::ConvertToCharType(RCPtr<LIBuffer>& buffer, const char* source, int count)
{
    if (source == nullptr || source[0] == 0) {
        buffer = GetEmpty().mBuffer;
        return kResultSuccess;
    }
    return count < 0 ? ConvertToUTF16(buffer, source, uint64{std::strlen(source)} + 1, Nul::kLast)
                     : ConvertToUTF16(buffer, source, static_cast<uint64>(count), Nul::kAnywhere);
}

int32 String16::ConvertToCharType(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count)
{
    return ConvertWide(buffer, source, count, 3, &UTF32ToUTF16);
}

int String::ToInt() const
{
    return ParseNumber(*this, [](const char* text) {
        const long long value = std::strtoll(text, nullptr, 10);
        return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
    });
}

double String::ToDouble() const
{
    return ParseNumber(*this, [](const char* text) { return std::atof(text); });
}

} // namespace QX
