// StringConversion.cpp - conversion of strings between their widths, from wide characters, and to
// numbers.

#include <QX/String.h>

#include "UTFConversion.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <utility>

namespace QX {
namespace {

/// For StrLen, of a text of any length.
constexpr uint32 kNoLimit = 0xFFFFFFFE;

// Replaces `buffer` by one with `size` units, of which `convert` fills less than all, and which is
// then cut at its first NUL. `convert` takes the address of the next unit and the end, moves the
// first on, and returns a ConversionResult.
template <class UnitT, class Convert>
int32 FillBuffer(RCPtr<LIBuffer>& buffer, uint64 size, Convert convert)
{
    if (size * sizeof(UnitT) > kUInt32Limit) {
        return kResultFailure;
    }
    RCPtr<LIBuffer> target =
        LTextBuffer::Create(static_cast<uint32>(size * sizeof(UnitT)), 0, true);
    auto* const start = static_cast<UnitT*>(target->GetRawPtr());
    if (start == nullptr) {
        throw std::bad_alloc();
    }
    UnitT* next = start;
    const ConversionResult result = convert(&next, start + size);
    const auto length = static_cast<uint32>(std::find(start, next, UnitT{}) - start);
    target->Resize<UnitT>(length + 1);
    if (target->GetRawPtr() == nullptr) {
        throw std::bad_alloc();
    }
    buffer = std::move(target);
    return result == conversionOK ? kResultSuccess : kResultFailure;
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
    return FillBuffer<UnitT>(buffer, length * unitsPerCharacter + 1, convertAll);
}

// Returns whether a NUL follows the text, so that a C string ends where the text does.
template <class CharT>
bool IsTerminated(const StringT<CharT>& string)
{
    const std::span<const CharT> text = string.GetText();
    const std::size_t elements = string.GetBuffer()->GetSizeBytes() / sizeof(CharT);
    return text.size() < std::max<std::size_t>(elements, 1) && text.data()[text.size()] == 0;
}

// Converts the text of a string with its terminator, if it has one. A text that is too long for the
// other width gives an empty string.
template <class CharT, class OtherT>
void ConvertString(RCPtr<LIBuffer>& buffer, const StringT<CharT>& source)
{
    const auto length = static_cast<int>(std::min<std::size_t>(source.GetText().size(), INT_MAX));
    buffer = StringT<OtherT>::GetEmpty().GetBuffer();
    StringT<OtherT>::ConvertToCharType(buffer, source.CStr(), IsTerminated(source) ? -1 : length);
}

// The functions of the C library read up to a NUL, so a text without one is copied first.
template <class Parse>
auto ParseNumber(const String& text, Parse parse)
{
    return IsTerminated(text) ? parse(text.CStr()) : parse(String(std::string_view(text)).CStr());
}

} // namespace

String::StringT(const StringT<unsigned short, char>& other)
{
    ConvertString<unsigned short, char>(mBuffer, other);
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
    const uint64 length = count < 0 ? uint64{StringT<unsigned short>::StrLen(source, kNoLimit)} + 1
                                    : static_cast<uint64>(count);
    return FillBuffer<UTF8>(buffer, length * 4 + 1, [=](UTF8** target, UTF8* targetEnd) {
        const UTF16* next = source;
        return UTF16ToUTF8(&next, source + length, target, targetEnd, ConversionMode::kReplacing);
    });
}

int32 String::ConvertToCharType(RCPtr<LIBuffer>& buffer, const wchar_t* source, int count)
{
    return ConvertWide(buffer, source, count, 4, &UTF32ToUTF8);
}

String16::StringT(const StringT<char, unsigned short>& other)
{
    ConvertString<char, unsigned short>(mBuffer, other);
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
    const uint64 length = count < 0 ? uint64{std::strlen(source)} + 1 : static_cast<uint64>(count);
    return FillBuffer<UTF16>(buffer, length + 1, [=](UTF16** target, UTF16* targetEnd) {
        const auto* next = reinterpret_cast<const UTF8*>(source);
        return UTF8ToUTF16(&next, next + length, target, targetEnd);
    });
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
