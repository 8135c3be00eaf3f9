// StringFormatTest.cpp - formatted text and number text in both widths.

#include "Support/StringTestSupport.h"

#include <QX/Exception.h>

#include <gtest/gtest.h>

#include <cfenv>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <thread>

namespace QX {
namespace {

constexpr uint32 kLongest = 16383;

TEST(StringFormat, WritesItsArguments)
{
    EXPECT_EQ(TextOf(String::Format("%s-%d-%5.2f|%c%%", "abc", -7, 2.5, 'x')), "abc--7- 2.50|x%");
    EXPECT_TRUE(SharesEmpty(String::Format("%s", "")));
}

TEST(StringFormat, WritesUsualAndOtherConversionsAlike)
{
    EXPECT_EQ(TextOf(String::Format("%s=%d (%.3f dB)", "level", -7, -6.25)),
              "level=-7 (-6.250 dB)");
    EXPECT_EQ(TextOf(String::Format("100 %%, %u%%%d", UINT_MAX, INT_MIN)),
              "100 %, 4294967295%-2147483648");
    EXPECT_EQ(TextOf(String::Format("%f|%.0f|%.9f", 0.1, 2.5, -1e9)),
              "0.100000|2|-1000000000.000000000");
    EXPECT_EQ(TextOf(String::Format("%d%s%.3d%.1f", 1, "a", 2, 3.0)), "1a0023.0");
    EXPECT_EQ(TextOf(String::Format("%.3d", 2)), "002");
    EXPECT_EQ(TextOf(String::Format("%.3g", 0.5)), "0.5");
    EXPECT_EQ(TextOf(String::Format("%.ff", 1.75)), "2f");
    EXPECT_EQ(TextOf(String::Format("%f3f", 1.5)), "1.5000003f");
    EXPECT_EQ(TextOf(String::Format("%s|%.2s|%.f", "abc", "abc", 1.5)), "abc|ab|2");
    EXPECT_EQ(TextOf(String::Format("%s|%.f", "abc", 2.5)), "abc|2");
    EXPECT_EQ(TextOf(String::Format("%.1f %.1f", HUGE_VAL, 1.25)), "inf 1.2");
    EXPECT_EQ(TextOf(String::Format("%d%s", 1, static_cast<const char*>(nullptr))), "1(null)");
}

TEST(StringFormat, RoundsAsTheThreadDoes)
{
    std::fesetround(FE_UPWARD);
    const std::string upward = TextOf(String::Format("%.2f", 0.121));
    std::fesetround(FE_TONEAREST);

    EXPECT_EQ(upward, "0.13");
    EXPECT_EQ(TextOf(String::Format("%.2f", 0.121)), "0.12");
}

TEST(StringFormat, GivesNothingForAFormatThatEndsInAConversion)
{
    EXPECT_TRUE(String::Format("abc%").IsEmpty());
    EXPECT_TRUE(String::Format("abc%.").IsEmpty());
    EXPECT_TRUE(String::Format("abc%.3").IsEmpty());
    EXPECT_TRUE(String::Format("abc%I64").IsEmpty());
}

TEST(StringFormat, TranslatesLengthModifiersOfIntegers)
{
    EXPECT_EQ(TextOf(String::Format("%I32d", -5)), "-5");
    EXPECT_EQ(TextOf(String::Format("%I64d", -1LL)), "-1");
    EXPECT_EQ(TextOf(String::Format("%I64d", 5000000000LL)), "5000000000");
    EXPECT_EQ(TextOf(String::Format("%-8I32d|", 42)), "42      |");
    EXPECT_EQ(TextOf(String::Format("%08I64X", 0xABCDEFLL)), "00ABCDEF");
    EXPECT_EQ(TextOf(String::Format("%I64X", 0x1234567800000000LL)), "1234567800000000");
    EXPECT_EQ(TextOf(String::Format("%*I64d|%.3I32u", 4, 7LL, 5u)), "   7|005");
    EXPECT_EQ(TextOf(String::Format("%I64o %I64x %I64i %I64u", 8LL, 255LL, -3LL, 3LL)),
              "10 ff -3 3");
    EXPECT_EQ(TextOf(String::Format("%Ld %LX", -9223372036854775807LL, 255LL)),
              "-9223372036854775807 FF");
    EXPECT_EQ(TextOf(String::Format("%I64d%I32d%I64d", 1LL, 2, 3LL)), "123");
}

TEST(StringFormat, LeavesAllOtherTextAlone)
{
    EXPECT_EQ(TextOf(String::Format("%%I64d")), "%I64d");
    EXPECT_EQ(TextOf(String::Format("%%I32d %%%I32d", 1)), "%I32d %1");
    EXPECT_EQ(TextOf(String::Format("%5%I64d %d", 1)), TextOf(String::Format("%5%")) + "I64d 1");
    EXPECT_EQ(TextOf(String::Format("I64d L %Lf", 2.5L)), "I64d L 2.500000");
    EXPECT_EQ(TextOf(String::Format("%ld %lld I32", 5L, 6LL)), "5 6 I32");
}

// The C library takes the I for a flag and 32 for a width.
TEST(StringFormat, TranslatesUpTo4095Characters)
{
    const std::string longest(4093, 'I');
    const std::string tooLong(4094, 'I');
    const std::string muchTooLong(5000, 'I');

    EXPECT_EQ(TextOf(String::Format((longest + "%I32d").c_str(), 7)), longest + "7");
    EXPECT_EQ(TextOf(String::Format((tooLong + "%I32d").c_str(), 7)),
              tooLong + std::string(31, ' ') + "7");
    EXPECT_EQ(TextOf(String::Format((muchTooLong + "%d%d").c_str(), 7, 8)), muchTooLong + "78");
}

TEST(StringFormat, CutsLongText)
{
    for (const uint32 length : {kLongest - 1, kLongest, kLongest + 1, uint32{20000}}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');

        const String formatted = String::Format("%s", text.c_str());

        EXPECT_EQ(formatted.GetLength(), std::min(length, kLongest));
        EXPECT_EQ(TextOf(formatted), text.substr(0, kLongest));
    }
}

TEST(StringFormat, CutsTheLastArgument)
{
    for (uint32 room = 0; room <= 6; ++room) {
        SCOPED_TRACE(room);
        const std::string start(kLongest - room, 'x');

        EXPECT_EQ(TextOf(String::Format("%s%s", start.c_str(), "12345")),
                  start + std::string("12345").substr(0, room));
        EXPECT_EQ(TextOf(String::Format("%s%d", start.c_str(), 12345)),
                  start + std::string("12345").substr(0, room));
        EXPECT_EQ(TextOf(String::Format("%s%.3f", start.c_str(), 1.5)),
                  start + std::string("1.500").substr(0, room));
        EXPECT_EQ(TextOf(String::Format("%s%dabc", start.c_str(), 12)),
                  start + std::string("12abc").substr(0, room));
    }
}

TEST(StringFormat, GivesNothingForANullFormat)
{
    String text("abc");

    EXPECT_TRUE(SharesEmpty(String::Format(nullptr)));
    EXPECT_TRUE(text.SetFormatted(nullptr).IsEmpty());
}

TEST(StringFormat, GivesNothingForAnArgumentThatCannotBeEncoded)
{
    const wchar_t unencodable[] = {0x1F600, 0};
    std::setlocale(LC_CTYPE, "C");

    EXPECT_TRUE(String::Format("abc%ls", unencodable).IsEmpty());
}

TEST(StringFormat, EndsAtANulThatItWrites)
{
    EXPECT_EQ(TextOf(String::Format("ab%cde", 0)), "ab");
}

TEST(StringSetFormatted, ReplacesTheTextAndReturnsTheString)
{
    String text("abc");
    const String sharer(text);

    EXPECT_EQ(&text.SetFormatted("%d%d", 1, 2), &text);

    EXPECT_EQ(TextOf(text), "12");
    EXPECT_EQ(TextOf(sharer), "abc");
}

TEST(StringSetFormatted, MayUseTheStringItself)
{
    String text("abc");

    text.SetFormatted("%s!%s", text.CStr(), text.CStr());

    EXPECT_EQ(TextOf(text), "abc!abc");
}

TEST(StringSetFormatted, IsCutToALockedField)
{
    String text;
    const char* const field = text.Lock(5);

    text.SetFormatted("%s", "abcdef");

    EXPECT_EQ(TextOf(text), "abcd");
    EXPECT_EQ(text.CStr(), field);
    EXPECT_TRUE(text.IsLocked());
}

TEST(StringFormatNumber, GivesFloatsThePrecision)
{
    EXPECT_EQ(TextOf(String::FormatNumber(3.14159, 2)), "3.14");
    EXPECT_EQ(TextOf(String::FormatNumber(2.5, -1)), "2.500000");
    EXPECT_EQ(TextOf(String::FormatNumber(1.0, 0)), "1");
    EXPECT_EQ(TextOf(String::FormatNumber(2.5, 0)), "2");
    EXPECT_EQ(TextOf(String::FormatNumber(-0.0, 1)), "-0.0");
    EXPECT_EQ(TextOf(String::FormatNumber(2.5f, 3)), "2.500");
    EXPECT_EQ(TextOf(String::FormatNumber(0.1f, 12)), "0.100000001490");
    EXPECT_EQ(TextOf(String::FormatNumber(2.5f, INT_MIN)), "2.500000");
}

TEST(StringFormatNumber, IsUnlocked)
{
    const String text = String::FormatNumber(5, 3);

    EXPECT_EQ(TextOf(text), ".005");
    EXPECT_FALSE(text.IsLocked());
    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 5u);
}

// The digits are printf's: of a number half way between two texts the even one, of others the
// nearer one, to the last digit of the longest numbers.
TEST(StringFormatNumber, WritesTheDigitsOfPrintf)
{
    const double values[] = {0.0,      -0.0, 0.125, 0.375,  -2.5,    1e15, 123456789.987654321,
                             1e-7,     0.5,  1.5,   5e-324, 1.7e308, 1e40, HUGE_VAL,
                             -HUGE_VAL};
    for (const double value : values) {
        for (const int precision : {0, 1, 2, 3, 6, 17, 40, 300}) {
            char expected[1024];
            std::snprintf(expected, sizeof expected, "%.*f", precision, value);
            EXPECT_EQ(TextOf(String::FormatNumber(value, precision)), expected);
        }
    }
}

TEST(StringFormatNumber, RoundsAsTheThreadDoes)
{
    std::fesetround(FE_UPWARD);
    const std::string upward = TextOf(String::FormatNumber(0.121, 2));
    std::fesetround(FE_TONEAREST);

    EXPECT_EQ(upward, "0.13");
    EXPECT_EQ(TextOf(String::FormatNumber(0.121, 2)), "0.12");
}

TEST(StringFormatNumber, CutsAnyPrecisionAtTheLongestText)
{
    for (const int precision : {16381, 16382, 16384, 100000, INT_MAX}) {
        SCOPED_TRACE(precision);
        EXPECT_EQ(TextOf(String::FormatNumber(1.0, precision)), "1." + std::string(16381, '0'));
    }
    EXPECT_EQ(TextOf(String::FormatNumber(1.0, 16380)), "1." + std::string(16380, '0'));
}

TEST(StringFormatNumber, PutsAPointBeforeTheDecimalsOfIntegers)
{
    struct
    {
        int value;
        int decimals;
        const char* expected;
    } const cases[] = {
        {1234, 0, "1234"},
        {1234, -3, "1234"},
        {1234, INT_MIN, "1234"},
        {1234, 2, "12.34"},
        {1234, 4, ".1234"},
        {123, 3, ".123"},
        {5, 1, ".5"},
        {5, 2, ".05"},
        {0, 2, ".00"},
        {-5, 2, ".-5"},
        {-5, 3, ".0-5"},
        {-1234, 2, "-12.34"},
        {-1, 1, "-.1"},
        {INT_MIN, 9, "-2.147483648"},
    };

    for (const auto& [value, decimals, expected] : cases) {
        SCOPED_TRACE(testing::Message() << value << ", " << decimals);
        EXPECT_EQ(TextOf(String::FormatNumber(value, decimals)), expected);
        EXPECT_EQ(TextOf(String::FormatNumber(static_cast<long long>(value), decimals)), expected);
        EXPECT_EQ(TextOf(String(String16::FormatNumber(value, decimals))), expected);
    }
}

TEST(StringFormatNumber, CoversTheWholeRangeOfEachType)
{
    EXPECT_EQ(TextOf(String::FormatNumber(4294967295u, 3)), "4294967.295");
    EXPECT_EQ(TextOf(String::FormatNumber(4294967295u, 0)), "4294967295");
    EXPECT_EQ(TextOf(String::FormatNumber(LLONG_MIN + 1, 4)), "-922337203685477.5807");
    EXPECT_EQ(TextOf(String::FormatNumber(LLONG_MIN, 0)), "-9223372036854775808");
    EXPECT_EQ(TextOf(String::FormatNumber(LLONG_MAX, 1)), "922337203685477580.7");
}

TEST(StringFormatNumber, AddsAnyNumberOfZerosInOneStep)
{
    EXPECT_EQ(TextOf(String::FormatNumber(7, 100000)), "." + std::string(99999, '0') + "7");
}

TEST(String16FormatNumber, IsTheConvertedText)
{
    EXPECT_EQ(TextOf(String16::FormatNumber(3.14159, 2)), u"3.14");
    EXPECT_EQ(TextOf(String16::FormatNumber(2.5f, 3)), u"2.500");
    EXPECT_EQ(TextOf(String16::FormatNumber(-5LL, 2)), u".-5");
    EXPECT_EQ(TextOf(String16::FormatNumber(1234, 2)), u"12.34");
    EXPECT_EQ(TextOf(String16::FormatNumber(4294967295u, 3)), u"4294967.295");
}

template <class Operation>
std::string TextOfDomainError(Operation operation)
{
    try {
        operation();
    } catch (const Exception<std::domain_error>& error) {
        return error.what();
    }
    return "nothing was thrown";
}

TEST(String16Format, AlwaysThrows)
{
    const char* const expected = "Domain Error :  vsnwprintf not supported on Mac :  : "
                                 "Utilities/Storage/StringT : Line 39";
    const auto format = Units(u"%d");

    EXPECT_EQ(TextOfDomainError([&] { String16::Format(format.data(), 1); }), expected);
    EXPECT_EQ(TextOfDomainError([&] { String16::Format(nullptr); }), expected);
}

TEST(String16SetFormatted, AlwaysThrows)
{
    const char* const expected = "Domain Error :  vsnwprintf not supported on Mac :  : "
                                 "Utilities/Storage/StringT : Line 549";
    const auto format = Units(u"%d");
    String16 text = Wide(u"abc");

    EXPECT_EQ(TextOfDomainError([&] { text.SetFormatted(format.data(), 1); }), expected);
    EXPECT_EQ(TextOfDomainError([&] { text.SetFormatted(nullptr); }), expected);
    EXPECT_EQ(TextOf(text), u"abc");
}

} // namespace
} // namespace QX
