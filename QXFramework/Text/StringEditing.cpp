// StringEditing.cpp - editing of 8-bit strings and the strings derived from them.
//
// Where a text may lie in the string that changes, the result is complete in a buffer of its own
// before the old one is dropped.

#include <QX/String.h>

#include "ByteCount.h"
#include "LowerCase.h"
#include "TextElements.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <new>

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

// Appends as String::Append does, if the string is unlocked, has a buffer of the class that strings
// make, and no NUL lies in either text; else returns false with nothing changed. The buffer grows
// in place; in place of one that is shared, a new one is made with the size of the result.
bool TryAppend(RCPtr<LIBuffer>& buffer, const char* text, uint32 length)
{
    LTextBuffer* const own = AsBuffer<LTextBuffer>(*buffer);
    const TextElements<char> old(*buffer);
    if (own == nullptr || old.count == 0 || !buffer->IsShareable()) {
        return false;
    }
    const uint32 oldLength = old.count - 1;
    const char* const added = text != nullptr ? text : old.first;
    if (LengthWithin(old.first, oldLength) != oldLength || LengthWithin(added, length) != length) {
        return false;
    }
    const uint32 size = CheckedByteCount(uint64{oldLength} + length + 1, sizeof(char));
    if (buffer->GetReferenceCount() >= 2) {
        RCPtr<LIBuffer> joined = LTextBuffer::Create(size, 0, false);
        char* const target = TextElements<char>(*joined).first;
        if (target == nullptr) {
            throw std::bad_alloc();
        }
        std::memcpy(target, old.first, oldLength);
        std::memcpy(target + oldLength, added, length);
        target[size - 1] = '\0';
        buffer.Swap(joined);
        return true;
    }
    if (!own->TryResizeBytes(size)) {
        throw std::bad_alloc();
    }
    char* const target = own->GetData();
    std::memcpy(target + oldLength, text != nullptr ? text : target, length);
    target[size - 1] = '\0';
    return true;
}

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
    if (first >= length || remaining <= 0) {
        return StringT();
    }
    remaining = std::min(remaining, length - first);
    return StringT(std::string_view(CStr() + first, static_cast<std::size_t>(remaining)));
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
    // Without a token both are at the end of the text: there is no rest.
    if (end < text.size()) {
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
        *this += StringT(std::string_view(text));
    } else if (position == 0) {
        *this = text + *this;
    } else {
        StringT rest; // a position may be more than GetSubString's start can be
        rest.SetText(CStr() + position, length - position);
        *this = GetSubString(0, position) + text + rest;
    }
    return kResultSuccess;
}

int32 String::Insert(uint32 position, const char* text, uint32 count)
{
    if (position > GetLength()) {
        return kResultOutOfRange;
    }
    return Insert(position, StringT(std::string_view(text, StrLen(text, count))));
}

String& String::operator+=(const StringT& other)
{
    if (&other == this) {
        Append(nullptr, IsEmpty() ? 0 : GetLength());
    } else {
        Append(other.CStr(), other.IsEmpty() ? 0 : other.GetLength());
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
    StringT result(*this);
    result += other;
    return result;
}

// Makes room for `length` characters after the present ones and copies the text there. It does not
// lie in this string; null means this string's own, which is where the buffer is after it has
// grown.
void String::Append(const char* text, uint32 length)
{
    if (length == 0 || TryAppend(mBuffer, text, length)) {
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
    StrCopy(own + oldLength, length + 1, text != nullptr ? text : own, kWholeText);
    if (!wasLocked) {
        // Another holder may have written a NUL into one of the texts, where the result ends.
        Release();
    }
}

} // namespace QX
