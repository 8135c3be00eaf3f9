// StringEditing.cpp - editing of 8-bit strings and the strings derived from them.
//
// Wherever a text may lie in the string that changes, the result is complete in a buffer of its
// own before the old one goes.

#include <QX/String.h>

#include "ByteCount.h"
#include "LowerCase.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace QX {
namespace {

/// A set of bytes.
class ByteSet
{
public:
    explicit ByteSet(std::string_view members)
    {
        for (const char member : members) {
            mHas[static_cast<unsigned char>(member)] = true;
        }
    }
    bool Has(char character) const { return mHas[static_cast<unsigned char>(character)]; }

private:
    std::array<bool, UCHAR_MAX + 1> mHas{};
};

} // namespace

String String::ToLower() const
{
    StringT result;
    result.SetText(CStr(), GetLength());
    if (const uint32 length = result.GetLength(); length != 0) {
        char* const text = ElementsOf(*result.mBuffer);
        std::transform(text, text + length, text, LowerCase);
    }
    return result;
}

String String::Reverse() const
{
    return StringT(String16(*this).Reverse());
}

String String::GetSubString(int start, uint32 count) const
{
    const int64 length = GetLength();
    int64 first = start;
    int64 remaining = count;
    if (first < 0) {
        first += length;
        if (first < 0) {
            remaining += first;
            first = 0;
        }
    }
    StringT result;
    if (first >= length || remaining <= 0) {
        return result;
    }
    remaining = std::min(remaining, length - first);
    result.SetText(CStr() + first, static_cast<uint32>(remaining));
    return result;
}

String String::GetSubString(int start) const
{
    const int64 count = int64{GetLength()} - start;
    return GetSubString(start, static_cast<uint32>(std::clamp<int64>(count, 0, kUInt32Limit)));
}

String String::SplitToken(const StringT& delimiters)
{
    const ByteSet isDelimiter(delimiters);
    const std::string_view text(*this);
    std::size_t first = 0;
    while (first < text.size() && isDelimiter.Has(text[first])) {
        ++first;
    }
    std::size_t end = first;
    while (end < text.size() && !isDelimiter.Has(text[end])) {
        ++end;
    }
    StringT rest;
    // Without a token there is no rest either, however many delimiters were skipped.
    if (end != first && end < text.size()) {
        const std::string_view following = text.substr(end + 1);
        rest.SetText(following.data(), static_cast<uint32>(following.size()));
    }
    SetText(text.data() + first, static_cast<uint32>(end - first));
    return rest;
}

String& String::Replace(const char* characters, char with)
{
    if (with == '\0') {
        return *this;
    }
    const ByteSet replaced(characters != nullptr ? characters : "");
    StringT result;
    result.SetText(CStr(), GetLength());
    if (const uint32 length = result.GetLength(); length != 0) {
        char* const text = ElementsOf(*result.mBuffer);
        std::replace_if(
            text, text + length, [&](char character) { return replaced.Has(character); }, with);
    }
    return *this = result;
}

int32 String::Insert(uint32 position, const StringT& text)
{
    const uint32 length = GetLength();
    if (position > length) {
        return kResultOutOfRange;
    }
    if (position == length) {
        *this += text;
        return kResultSuccess;
    }
    const std::string_view own(*this);
    *this = Concatenate(own.substr(0, position), text, own.substr(position));
    return kResultSuccess;
}

int32 String::Insert(uint32 position, const char* text, uint32 count)
{
    const uint32 length = GetLength();
    if (position > length) {
        return kResultOutOfRange;
    }
    // A count from kWholeText on means the whole text, which may be longer than that.
    const std::string_view inserted(text, StrLen(text, count < kWholeText ? count : 0xFFFFFFFE));
    if (position < length) {
        const std::string_view own(*this);
        *this = Concatenate(own.substr(0, position), inserted, own.substr(position));
    } else if (PointsIntoBuffer(text)) {
        *this += StringT(inserted);
    } else {
        Append(text, static_cast<uint32>(inserted.size()));
    }
    return kResultSuccess;
}

String& String::operator+=(const StringT& other)
{
    if (&other == this) {
        Append(nullptr, GetLength());
    } else {
        Append(other.CStr(), other.GetLength());
    }
    return *this;
}

String& String::operator+=(char character)
{
    Append(&character, character != '\0' ? 1 : 0);
    return *this;
}

String String::operator+(const StringT& other) const
{
    return other.IsEmpty() ? *this : Concatenate(*this, other, {});
}

int String::ToInt() const
{
    const long long value = std::strtoll(Terminated().CStr(), nullptr, 10);
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

double String::ToDouble() const
{
    return std::atof(Terminated().CStr());
}

// Appends `length` characters that do not lie in this string; a null `text` means this string's
// own first ones, which are where the buffer is after it has grown.
void String::Append(const char* text, uint32 length)
{
    if (length == 0) {
        return;
    }
    const bool wasLocked = IsLocked();
    const uint32 oldLength = GetLength();
    const uint64 size = uint64{oldLength} + length + 1;
    if (wasLocked) {
        ResizeBuffer(*mBuffer, size);
    } else {
        Lock(CheckedByteCount(size, sizeof(char)));
    }
    char* const own = ElementsOf(*mBuffer);
    std::memcpy(own + oldLength, text != nullptr ? text : own, length);
    own[size - 1] = '\0';
    if (!wasLocked) {
        // The buffer has its final size, so that nothing is left of what Release does.
        mBuffer->SetUnshareable(false);
    }
}

String String::Concatenate(std::string_view first, std::string_view second, std::string_view third)
{
    StringT result;
    RCPtr<LIBuffer> buffer = CreateBuffer(uint64{first.size()} + second.size() + third.size() + 1);
    char* target = ElementsOf(*buffer);
    for (const std::string_view part : {first, second, third}) {
        target = std::copy(part.begin(), part.end(), target);
    }
    *target = '\0';
    result.mBuffer.Swap(buffer);
    return result;
}

// Returns this string, or a terminated copy if its terminator has been overwritten.
String String::Terminated() const
{
    return IsTerminated() ? *this : StringT(std::string_view(*this));
}

} // namespace QX
