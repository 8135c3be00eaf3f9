// String16.cpp - 16-bit strings: construction, comparison, reversal, and what they refuse.

#include <QX/String.h>

#include <QX/ThrowSites.h>

#include <algorithm>

namespace QX {
namespace {

constexpr const char* kNoFormat = " vsnwprintf not supported on Mac";
constexpr const char* kNotImplemented = "Not implemented.";

} // namespace

const String16 String16::Empty = GetEmpty();

const String16& String16::GetEmpty()
{
    static const StringT sEmpty(static_cast<unsigned short>(0));
    return sEmpty;
}

String16::StringT()
{
    mBuffer = GetEmpty().mBuffer;
}

String16::StringT(const unsigned short* text)
{
    Assign(text, kWholeText);
}

String16::StringT(unsigned short unit)
{
    mBuffer = CreateTextBuffer(&unit, unit != 0 ? 1 : 0);
}

String16::~StringT() = default;

String16 String16::Reverse() const
{
    StringT result(*this);
    if (!result.IsEmpty()) {
        unsigned short* const text = result.Lock(0);
        std::reverse(text, text + StrLen(text, kWholeText));
        result.Release();
    }
    return result;
}

String16 String16::FormatNumber(double value, int precision)
{
    return String::FormatNumber(value, precision);
}

String16 String16::FormatNumber(float value, int precision)
{
    return String::FormatNumber(value, precision);
}

String16 String16::FormatNumber(long long value, int decimals)
{
    return String::FormatNumber(value, decimals);
}

String16 String16::FormatNumber(int value, int decimals)
{
    return String::FormatNumber(value, decimals);
}

String16 String16::FormatNumber(unsigned int value, int decimals)
{
    return String::FormatNumber(value, decimals);
}

String16 String16::Format(const unsigned short*, ...)
{
    ThrowException<std::domain_error>(kNoFormat, ThrowSites::kStringFormat16);
}

String16& String16::SetFormatted(const unsigned short*, ...)
{
    ThrowException<std::domain_error>(kNoFormat, ThrowSites::kStringSetFormatted16);
}

uint32 String16::StrCSpn(const unsigned short*, const unsigned short*)
{
    ThrowException<std::domain_error>(kNotImplemented, ThrowSites::kStringCSpn16);
}

String16 String16::SplitToken(const StringT&)
{
    ThrowException<std::domain_error>(kNotImplemented, ThrowSites::kStringSplitToken16);
}

String16& String16::Replace(const unsigned short* units, unsigned short with)
{
    if (with != 0) {
        StrCSpn(CStr(), units);
    }
    return *this;
}

std::strong_ordering operator<=>(const String16& left, const String16& right)
{
    // Not lexicographical_compare_three_way: on a big-endian machine GCC 12's library compares as
    // many bytes as there are units, so half of the text.
    const std::span<const unsigned short> leftText = left.GetText();
    const std::span<const unsigned short> rightText = right.GetText();
    const auto [leftUnit, rightUnit] = std::ranges::mismatch(leftText, rightText);
    if (leftUnit == leftText.end() || rightUnit == rightText.end()) {
        return leftText.size() <=> rightText.size();
    }
    return *leftUnit <=> *rightUnit;
}

} // namespace QX

std::size_t std::hash<QX::String16>::operator()(const QX::String16& text) const noexcept
{
    const auto bytes = std::as_bytes(text.GetText());
    return std::hash<std::string_view>{}(
        {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}
