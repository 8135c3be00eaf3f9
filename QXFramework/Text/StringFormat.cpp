// StringFormat.cpp - printf formatting and number text.

#include <QX/String.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <langinfo.h>
#include <span>
#include <string_view>

namespace QX {
namespace {

constexpr std::size_t kTextSize = 16384;
constexpr std::size_t kFormatSize = 4096;

/// A more precise number would only be cut at the end of the text.
constexpr int kLargestPrecision = 16384;

using FormatArea = std::array<char, kFormatSize>;
using TextArea = std::array<char, kTextSize>;

/// A length modifier of a conversion and what the C library calls it.
struct LengthModifier
{
    std::string_view spelling;
    std::string_view meaning;
};

constexpr LengthModifier kLengthModifiers[] = {{"I32", ""}, {"I64", "ll"}, {"L", "ll"}};

// Returns the modifier at the start of `text` if an integer conversion follows it, else null.
const LengthModifier* FindIntegerModifier(const char* text)
{
    for (const LengthModifier& modifier : kLengthModifiers) {
        const std::size_t length = modifier.spelling.size();
        if (std::strncmp(text, modifier.spelling.data(), length) == 0 && text[length] != '\0' &&
            std::strchr("diouxX", text[length]) != nullptr) {
            return &modifier;
        }
    }
    return nullptr;
}

// Returns whether the C library writes the number as std::to_chars does: finite, rounded to the
// nearest, and with a point.
bool HasUsualText(double value)
{
    const bool hasPoint = std::strcmp(nl_langinfo(RADIXCHAR), ".") == 0;
    const bool isFinite = std::isfinite(value);
    return hasPoint & isFinite & (std::fegetround() == FE_TONEAREST);
}

/// Collects a text in an area of fixed size. What does not fit makes it fail, and so does what only
/// the C library can write.
class AreaWriter
{
public:
    explicit AreaWriter(std::span<char> area)
        : mArea(area)
    {}
    void Append(std::string_view text)
    {
        mFits = mFits && text.size() < mArea.size() - mUsed;
        if (mFits) {
            std::copy(text.begin(), text.end(), mArea.data() + mUsed);
            mUsed += text.size();
        }
    }
    void AppendText(const char* text)
    {
        if (text != nullptr) {
            Append(std::string_view(text));
        } else {
            mFits = false;
        }
    }
    /// Appends the digits that std::to_chars writes in this form.
    template <class Number, class... Form>
    void AppendNumber(Number value, Form... form)
    {
        const auto [end, error] =
            std::to_chars(mArea.data() + mUsed, &mArea.back(), value, form...);
        mFits = mFits & (error == std::errc());
        mUsed = static_cast<std::size_t>(end - mArea.data());
    }
    void AppendDecimals(double value, int decimals)
    {
        mFits = mFits && HasUsualText(value);
        AppendNumber(value, std::chars_format::fixed, decimals);
    }
    /// Returns the terminated text, or null if it has failed.
    const char* Finish()
    {
        mArea[mUsed] = '\0';
        return mFits ? mArea.data() : nullptr;
    }

private:
    std::span<char> mArea;
    std::size_t mUsed = 0; ///< always leaves room for the terminator
    bool mFits = true;
};

// Returns the format with its length modifiers in the C library's spelling, which would read the I
// of I32 and I64 as a flag and the digits as a width. A format too long for the area is returned as
// it is.
const char* TranslateFormat(const char* format, FormatArea& area)
{
    if (std::strpbrk(format, "IL") == nullptr) {
        return format;
    }
    AreaWriter writer(area);
    const char* rest = format;
    while (const char* const conversion = std::strchr(rest, '%')) {
        const char* modified = conversion + 1;
        modified += std::strspn(modified, "-+ #'0123456789.*$");
        if (*modified == '%') {
            ++modified; // a percent sign, whatever flags it has
            writer.Append({rest, modified});
            rest = modified;
            continue;
        }
        writer.Append({rest, modified});
        rest = modified;
        if (const LengthModifier* const modifier = FindIntegerModifier(modified)) {
            writer.Append(modifier->meaning);
            rest += modifier->spelling.size();
        }
    }
    writer.Append(rest);
    const char* const translated = writer.Finish();
    return translated != nullptr ? translated : format;
}

// Writes the text of a format that has only the usual conversions: %s, %d, %u, %f, %.0f to %.9f and
// %%. Returns false where the C library has to write it, which takes several times as long.
bool TryFormatUsual(TextArea& text, const char* format, std::va_list arguments)
{
    AreaWriter writer(text);
    const char* rest = format;
    while (const char* const conversion = std::strchr(rest, '%')) {
        writer.Append({rest, conversion});
        rest = conversion + 1;
        switch (*rest++) {
        case 's':
            writer.AppendText(va_arg(arguments, const char*));
            break;
        case 'd':
            writer.AppendNumber(va_arg(arguments, int));
            break;
        case 'u':
            writer.AppendNumber(va_arg(arguments, unsigned int));
            break;
        case 'f':
            writer.AppendDecimals(va_arg(arguments, double), 6);
            break;
        case '.':
            if (std::isdigit(static_cast<unsigned char>(*rest)) == 0 || rest[1] != 'f') {
                return false;
            }
            writer.AppendDecimals(va_arg(arguments, double), *rest - '0');
            rest += 2;
            break;
        case '%':
            writer.Append("%");
            break;
        default:
            return false;
        }
    }
    writer.Append(rest);
    return writer.Finish() != nullptr;
}

// Fills `text` with the formatted text, cut to fit. Takes no memory from the heap itself.
void FormatText(TextArea& text, const char* format, std::va_list arguments)
{
    text.front() = '\0';
    if (format == nullptr) {
        return;
    }
    std::va_list copy;
    va_copy(copy, arguments);
    const bool isDone = TryFormatUsual(text, format, copy);
    va_end(copy);
    if (isDone) {
        return;
    }
    FormatArea area;
    const char* const translated = TranslateFormat(format, area);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::vsnprintf(text.data(), text.size(), translated, arguments);
#pragma GCC diagnostic pop
    text.back() = '\0';
    if (length < 0) {
        text.front() = '\0';
    }
}

/// Enough for the digits of any integer and of the usual floating-point numbers.
constexpr std::size_t kDigitsSize = 64;

// Returns the digits with a point before the last `decimals` of them, and zeros in front if they
// are fewer.
String InsertPoint(std::string_view digits, int decimals)
{
    if (decimals < 1) {
        return String(digits);
    }
    const auto places = static_cast<std::size_t>(decimals);
    const std::size_t whole = digits.size() - std::min(digits.size(), places);
    const std::size_t zeros = places - (digits.size() - whole);
    String text;
    char* field = text.Lock(static_cast<uint32>(whole + places + 2));
    field = std::copy_n(digits.data(), whole, field);
    *field++ = '.';
    field = std::fill_n(field, zeros, '0');
    std::copy(digits.begin() + static_cast<std::ptrdiff_t>(whole), digits.end(), field);
    text.Release();
    return text;
}

template <class Integer>
String FormatInteger(Integer value, int decimals)
{
    std::array<char, kDigitsSize> area;
    const auto [end, error] = std::to_chars(area.data(), area.data() + area.size(), value);
    return InsertPoint({area.data(), static_cast<std::size_t>(end - area.data())}, decimals);
}

} // namespace

String String::Format(const char* format, ...)
{
    TextArea text;
    std::va_list arguments;
    va_start(arguments, format);
    FormatText(text, format, arguments);
    va_end(arguments);
    return StringT(text.data());
}

String& String::SetFormatted(const char* format, ...)
{
    TextArea text;
    std::va_list arguments;
    va_start(arguments, format);
    FormatText(text, format, arguments);
    va_end(arguments);
    // This string may have been an argument, so it changes only now.
    Assign(text.data(), kWholeText);
    return *this;
}

String String::FormatNumber(double value, int precision)
{
    const int decimals = precision < 0 ? 6 : std::min(precision, kLargestPrecision);
    std::array<char, kDigitsSize> area;
    AreaWriter writer(area);
    writer.AppendDecimals(value, decimals);
    const char* const text = writer.Finish();
    return text != nullptr ? StringT(text) : Format("%.*lf", decimals, value);
}

String String::FormatNumber(float value, int precision)
{
    return FormatNumber(static_cast<double>(value), precision);
}

String String::FormatNumber(long long value, int decimals)
{
    return FormatInteger(value, decimals);
}

String String::FormatNumber(int value, int decimals)
{
    return FormatInteger(value, decimals);
}

String String::FormatNumber(unsigned int value, int decimals)
{
    return FormatInteger(value, decimals);
}

} // namespace QX
