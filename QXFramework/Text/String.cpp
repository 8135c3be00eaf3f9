// String.cpp - construction, comparison and numbers of 8-bit strings.

#include <QX/String.h>

#include "LowerCase.h"
#include "TextElements.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <ostream>
#include <typeinfo>

namespace QX {
namespace {

// Compares as strcmp of the lowered texts does.
int CompareLowered(std::string_view left, std::string_view right)
{
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t index = 0; index < common; ++index) {
        const auto leftByte = static_cast<unsigned char>(LowerCase(left[index]));
        const auto rightByte = static_cast<unsigned char>(LowerCase(right[index]));
        if (leftByte != rightByte) {
            return leftByte < rightByte ? -1 : 1;
        }
    }
    return left.size() == right.size() ? 0 : left.size() < right.size() ? -1 : 1;
}

int CompareTexts(std::string_view left, std::string_view right, bool caseSensitive)
{
    return caseSensitive ? left.compare(right) : CompareLowered(left, right);
}

// Returns whether both buffers are of the class that strings make and have the same bytes with a
// NUL at the end, and so the same text up to the first NUL, locked or not. Other texts can be equal
// too; this is the quick answer, without a call but the one that compares.
bool HaveSameBytes(LIBuffer& left, LIBuffer& right)
{
    if (&typeid(left) != &typeid(LTextBuffer) || &typeid(right) != &typeid(LTextBuffer)) {
        return false;
    }
    const auto& ours = static_cast<LTextBuffer&>(left);
    const auto& theirs = static_cast<LTextBuffer&>(right);
    const char* const ourBytes = ours.GetData();
    const char* const theirBytes = theirs.GetData();
    const uint32 size = ours.LTextBuffer::GetSizeBytes();
    const bool haveBytes = (size != 0) & (ourBytes != nullptr) & (theirBytes != nullptr);
    return haveBytes && size == theirs.LTextBuffer::GetSizeBytes() &&
           (ourBytes[size - 1] | theirBytes[size - 1]) == 0 &&
           std::memcmp(ourBytes, theirBytes, size - 1) == 0;
}

std::string_view ViewOf(const char* text)
{
    return text != nullptr ? std::string_view(text) : std::string_view();
}

} // namespace

const String String::Empty = GetEmpty();

const String& String::GetEmpty()
{
    static const StringT sEmpty('\0');
    return sEmpty;
}

String::StringT()
{
    mBuffer = GetEmpty().mBuffer;
}

String::StringT(const char* text)
{
    Assign(text, kWholeText);
}

String::StringT(char character)
{
    mBuffer = CreateTextBuffer(&character, character != '\0' ? 1 : 0);
}

String::StringT(const RCPtr<LIBuffer>& buffer)
{
    if (buffer == nullptr) {
        mBuffer = GetEmpty().mBuffer;
        return;
    }
    mBuffer = buffer;
    const uint32 size = mBuffer->GetSizeBytes();
    if (size != 0 && mBuffer->GetRawPtr() == nullptr) {
        throw std::bad_alloc();
    }
    const uint32 length = StrLen(ElementsOf(*mBuffer), size);
    // Others may be reading the buffer, so one that is right already is not written to.
    if (size != length + 1) {
        ResizeBuffer(*mBuffer, uint64{length} + 1);
        ElementsOf(*mBuffer)[length] = '\0';
    }
}

String::StringT(std::string_view text)
{
    SetText(text.data(), static_cast<uint32>(std::min<uint64>(text.size(), kUInt32Limit)));
}

String::~StringT() = default;

String::operator std::string_view() const
{
    const std::span<const char> text = GetText();
    return {text.data(), text.size()};
}

int String::StrCompare(const char* left, const char* right, bool caseSensitive)
{
    return CompareTexts(ViewOf(left), ViewOf(right), caseSensitive);
}

int String::Compare(const char* text, bool caseSensitive) const
{
    return CompareTexts(*this, ViewOf(text), caseSensitive);
}

int String::Compare(const StringT& other, bool caseSensitive) const
{
    return CStr() == other.CStr() ? 0 : CompareTexts(*this, other, caseSensitive);
}

bool String::IsEqual(const char* text) const
{
    return std::string_view(*this) == ViewOf(text);
}

bool String::IsEqual(const StringT& other) const
{
    // Others are compared up to their first NUL, which another holder may have written.
    return mBuffer == other.mBuffer || HaveSameBytes(*mBuffer, *other.mBuffer) ||
           std::string_view(*this) == std::string_view(other);
}

std::ostream& operator<<(std::ostream& stream, const String& text)
{
    return stream << std::string_view(text);
}

} // namespace QX
