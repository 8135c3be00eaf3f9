// StringConversionTest.cpp - strings between UTF-8, UTF-16 and wide characters.

#include "Support/StringTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <climits>
#include <cwchar>

namespace QX {
namespace {

constexpr int32 kFailure = static_cast<int32>(0x80000008u);

std::string BytesOf(const RCPtr<LIBuffer>& buffer)
{
    return {static_cast<const char*>(buffer->GetRawPtr()), buffer->GetSizeBytes()};
}

std::u16string UnitsOf(const RCPtr<LIBuffer>& buffer)
{
    const auto* const units = static_cast<const unsigned short*>(buffer->GetRawPtr());
    return {units, units + buffer->GetSizeBytes() / 2};
}

/// The text with the terminator that a conversion puts after it.
std::string Terminated(std::string_view text)
{
    return std::string(text) + '\0';
}

std::u16string Terminated(std::u16string_view text)
{
    return std::u16string(text) + u'\0';
}

TEST(StringConversion, ConvertsWholeTexts)
{
    struct
    {
        const char* what;
        const char* text;
        const char16_t* units;
        const wchar_t* wide;
    } const cases[] = {
        {"ASCII", "abc", u"abc", L"abc"},
        {"two bytes", "\xC3\xA9", u"\u00E9", L"\u00E9"},
        {"three bytes", "\xE2\x82\xAC", u"\u20AC", L"\u20AC"},
        {"four bytes", "\xF0\x9F\x98\x80\xF0\x9F\x98\x80", u"\U0001F600\U0001F600",
         L"\U0001F600\U0001F600"},
        {"mixed", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z", u"a\u00E9\u20AC\U0001F600z",
         L"a\u00E9\u20AC\U0001F600z"},
    };

    for (const auto& [what, text, units, wide] : cases) {
        SCOPED_TRACE(what);
        RCPtr<LIBuffer> buffer;
        EXPECT_EQ(String::ConvertToCharType(buffer, wide, -1), 0);
        EXPECT_EQ(BytesOf(buffer), Terminated(text));
        EXPECT_EQ(String16::ConvertToCharType(buffer, wide, -1), 0);
        EXPECT_EQ(UnitsOf(buffer), Terminated(units));
        EXPECT_EQ(TextOf(String16(text)), units);
        EXPECT_EQ(TextOf(String16(String(text))), units);
        EXPECT_EQ(TextOf(String(Units(units).data())), text);
        EXPECT_EQ(TextOf(String(Wide(units))), text);
    }
}

TEST(StringConversion, EndsWhereTheTextOfAStringDoes)
{
    String16 full;
    std::copy_n(u"abc", 3, full.Lock(3));
    String16 cut = Wide(u"abc");
    cut.GetBuffer()->GetPtr<unsigned short>(2)[0] = 0;
    String16 open = Wide(u"abc");
    open.GetBuffer()->GetPtr<unsigned short>(6)[0] = 'd';

    EXPECT_EQ(TextOf(String(full)), "abc");
    EXPECT_EQ(TextOf(String(cut)), "a");
    EXPECT_EQ(TextOf(String(open)), "abc");
}

TEST(StringConversion, TrimsTheBufferToTheText)
{
    const String text(Wide(u"\u00E9"));
    const String16 wide("\xC3\xA9");

    EXPECT_EQ(BytesOf(text.GetBuffer()), Terminated("\xC3\xA9"));
    EXPECT_EQ(UnitsOf(wide.GetBuffer()), Terminated(u"\u00E9"));
}

TEST(StringConversion, SharesTheEmptyBufferForNoTextWhateverTheCount)
{
    const auto noUnits = ExactBlock<unsigned short>(std::basic_string_view(Units(u"").data(), 1));
    const auto noBytes = ExactBlock<char>(std::string_view("", 1));

    for (const int count : {-1, 0, 1, INT_MAX}) {
        for (const bool isNull : {false, true}) {
            SCOPED_TRACE(testing::Message() << count << (isNull ? ", null" : ""));
            RCPtr<LIBuffer> bytes = String("abc").GetBuffer();
            RCPtr<LIBuffer> units = Wide(u"abc").GetBuffer();

            EXPECT_EQ(String::ConvertToCharType(bytes, isNull ? nullptr : noUnits.get(), count), 0);
            EXPECT_EQ(String16::ConvertToCharType(units, isNull ? nullptr : noBytes.get(), count),
                      0);

            EXPECT_EQ(bytes, String::Empty.GetBuffer());
            EXPECT_EQ(units, String16::Empty.GetBuffer());
        }
    }
}

TEST(StringConversion, MakesABufferOfItsOwnForAnEmptyWideText)
{
    RCPtr<LIBuffer> bytes;
    RCPtr<LIBuffer> units;

    EXPECT_EQ(String::ConvertToCharType(bytes, L"", -1), 0);
    EXPECT_EQ(String16::ConvertToCharType(units, L"", -1), 0);

    EXPECT_EQ(BytesOf(bytes), Terminated(""));
    EXPECT_NE(bytes.Get(), BufferOf(String::Empty));
    EXPECT_EQ(UnitsOf(units), Terminated(u""));
    EXPECT_NE(units.Get(), BufferOf(String16::Empty));
}

TEST(StringConversion, MakesABufferOfItsOwnForNoUnitsOfAText)
{
    const auto noWide = ExactBlock<wchar_t>({});
    RCPtr<LIBuffer> bytes;
    RCPtr<LIBuffer> units;

    EXPECT_EQ(String::ConvertToCharType(bytes, Units(u"a").data(), 0), 0);
    EXPECT_EQ(BytesOf(bytes), Terminated(""));
    EXPECT_NE(bytes.Get(), BufferOf(String::Empty));
    EXPECT_EQ(String::ConvertToCharType(bytes, noWide.get(), 0), 0);
    EXPECT_EQ(BytesOf(bytes), Terminated(""));
    EXPECT_EQ(String16::ConvertToCharType(units, "a", 0), 0);
    EXPECT_EQ(UnitsOf(units), Terminated(u""));
    EXPECT_NE(units.Get(), BufferOf(String16::Empty));
    EXPECT_EQ(String16::ConvertToCharType(units, noWide.get(), 0), 0);
    EXPECT_EQ(UnitsOf(units), Terminated(u""));
}

TEST(StringConversion, CutsTheBlockOfAShortTextAsThatOfALongOne)
{
    const struct
    {
        std::size_t length;
        uint32 narrowBytes;
        uint32 wideBytes;
    } rows[] = {{1, 9, 6},          {10, 45, 24},       {41, 169, 86},
                {42, 43, 88},       {510, 511, 1024},   {511, 512, 1026},
                {1022, 1023, 2048}, {1023, 1024, 2050}, {5000, 5001, 10004}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        const std::string text(row.length, 'x');

        const String16 wide(text.c_str());
        const String narrow(wide);

        EXPECT_EQ(TextOf(narrow), text);
        EXPECT_EQ(wide.GetLength(), row.length);
        EXPECT_EQ(narrow.GetBuffer()->GetAllocatedSize(), row.narrowBytes);
        EXPECT_EQ(wide.GetBuffer()->GetAllocatedSize(), row.wideBytes);
    }
}

TEST(StringConversion, LeavesZerosAfterTheTextForAHolderWhoEnlargesTheBuffer)
{
    RCPtr<LIBuffer> buffer;
    String::ConvertToCharType(buffer, Units(u"abcdefghij").data(), -1);

    buffer->ResizeBytes(40);

    EXPECT_EQ(BytesOf(buffer), "abcdefghij" + std::string(30, '\0'));
}

TEST(StringConversion, ReadsAsManyUnitsAsTheCount)
{
    const auto units = ExactBlock<unsigned short>(std::basic_string_view(Units(u"abc").data(), 3));
    const auto bytes = ExactBlock<char>("abc");
    const auto wide = ExactBlock<wchar_t>(L"abc");
    RCPtr<LIBuffer> target;

    EXPECT_EQ(String::ConvertToCharType(target, units.get(), 3), 0);
    EXPECT_EQ(BytesOf(target), Terminated("abc"));
    EXPECT_EQ(String::ConvertToCharType(target, wide.get(), 2), 0);
    EXPECT_EQ(BytesOf(target), Terminated("ab"));
    EXPECT_EQ(String16::ConvertToCharType(target, bytes.get(), 3), 0);
    EXPECT_EQ(UnitsOf(target), Terminated(u"abc"));
    EXPECT_EQ(String16::ConvertToCharType(target, wide.get(), 1), 0);
    EXPECT_EQ(UnitsOf(target), Terminated(u"a"));
}

TEST(StringConversion, ReadsAsManyUnitsAsTheCountOfALongText)
{
    const std::wstring wide(600, L'w');
    RCPtr<LIBuffer> target;

    EXPECT_EQ(String::ConvertToCharType(target, wide.c_str(), 300), 0);
    EXPECT_EQ(BytesOf(target), Terminated(std::string(300, 'w')));
}

TEST(StringConversion, EndsAtANulWithinTheCount)
{
    const unsigned short units[] = {'a', 0, 'b'};
    RCPtr<LIBuffer> target;

    EXPECT_EQ(String::ConvertToCharType(target, units, 3), 0);
    EXPECT_EQ(BytesOf(target), Terminated("a"));
    EXPECT_EQ(String16::ConvertToCharType(target, "a\0b", 3), 0);
    EXPECT_EQ(UnitsOf(target), Terminated(u"a"));
    EXPECT_EQ(String::ConvertToCharType(target, L"a\0b", 3), 0);
    EXPECT_EQ(BytesOf(target), Terminated("a"));
    EXPECT_EQ(String16::ConvertToCharType(target, L"a\0b", 3), 0);
    EXPECT_EQ(UnitsOf(target), Terminated(u"a"));
}

TEST(StringConversion, RefusesACountBeyondItsSizesAfterTheFirstUnit)
{
    const unsigned short unit = 'a';
    const char byte = 'a';
    const auto noWide = ExactBlock<wchar_t>({});
    const RCPtr<LIBuffer> before = BufferWith("kept");
    RCPtr<LIBuffer> target = before;

    EXPECT_EQ(String::ConvertToCharType(target, &unit, INT_MAX), kFailure);
    EXPECT_EQ(String::ConvertToCharType(target, noWide.get(), INT_MAX), kFailure);
    EXPECT_EQ(String16::ConvertToCharType(target, &byte, INT_MAX), kFailure);
    EXPECT_EQ(String16::ConvertToCharType(target, noWide.get(), INT_MAX), kFailure);

    EXPECT_EQ(target.Get(), before.Get());
}

TEST(StringConversion, TakesItsSourceFromTheBufferThatItReplaces)
{
    RCPtr<LIBuffer> bytes = BufferWith(std::string_view("a\xC3\xA9", 4));
    RCPtr<LIBuffer> units = Wide(u"a\u00E9").GetBuffer();

    EXPECT_EQ(String16::ConvertToCharType(bytes, static_cast<const char*>(bytes->GetRawPtr()), -1),
              0);
    EXPECT_EQ(String::ConvertToCharType(units,
                                        static_cast<const unsigned short*>(units->GetRawPtr()), -1),
              0);

    EXPECT_EQ(UnitsOf(bytes), Terminated(u"a\u00E9"));
    EXPECT_EQ(BytesOf(units), Terminated("a\xC3\xA9"));
}

TEST(StringConversion, LeavesTheHoldersOfTheReplacedBufferAlone)
{
    const RCPtr<LIBuffer> before = BufferWith("kept");
    RCPtr<LIBuffer> target = before;

    String::ConvertToCharType(target, Units(u"abc").data(), -1);

    EXPECT_EQ(BytesOf(before), "kept");
    EXPECT_EQ(before->GetReferenceCount(), 1);
}

TEST(StringConversion, ReplacesUnpairedSurrogates)
{
    struct
    {
        const char* what;
        std::vector<unsigned short> units;
        const char* expected;
    } const cases[] = {
        {"high before a letter",
         {0xD800, 'a', 0},
         "\xEF\xBF\xBD"
         "a"},
        {"low alone",
         {'a', 0xDC00, 'b', 0},
         "a\xEF\xBF\xBD"
         "b"},
        {"high before the end", {'a', 0xDBFF, 0}, "a\xEF\xBF\xBD"},
        {"halves in the wrong order", {0xDE00, 0xD83D, 0}, "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"high before a pair", {0xD83D, 0xD83D, 0xDE00, 0}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
        {"low after a pair", {0xD83D, 0xDE00, 0xDFFF, 0}, "\xF0\x9F\x98\x80\xEF\xBF\xBD"},
        {"one in a long text",
         {'a', 'a', 'a', 'a', 'a', 'a', 'a', 'a',    'a', 'a',
          'a', 'a', 'a', 'a', 'a', 'a', 'a', 0xDC00, 'b', 0},
         "aaaaaaaaaaaaaaaaa\xEF\xBF\xBD"
         "b"},
    };

    for (const auto& [what, units, expected] : cases) {
        SCOPED_TRACE(what);
        RCPtr<LIBuffer> buffer;

        EXPECT_EQ(String::ConvertToCharType(buffer, units.data(), -1), 0);

        EXPECT_EQ(BytesOf(buffer), Terminated(expected));
        EXPECT_EQ(TextOf(String(units.data())), expected);
    }
}

TEST(StringConversion, FailsWhereACountCutsAPair)
{
    const unsigned short units[] = {'a', 0xD83D, 0xDE00};
    RCPtr<LIBuffer> buffer;

    EXPECT_EQ(String::ConvertToCharType(buffer, units, 2), kFailure);
    EXPECT_EQ(BytesOf(buffer), Terminated("a"));
    EXPECT_EQ(String::ConvertToCharType(buffer, units + 1, 1), kFailure);
    EXPECT_EQ(BytesOf(buffer), Terminated(""));
    EXPECT_NE(buffer.Get(), BufferOf(String::Empty));
}

TEST(StringConversion, ReplacesWideUnitsThatAreNoCharacters)
{
    const wchar_t surrogate[] = {0xD800, 0x61, 0};
    const wchar_t tooLarge[] = {0x61, 0x110000, 0x62, 0};
    const wchar_t negative[] = {0x61, static_cast<wchar_t>(-1), 0x62, 0};
    RCPtr<LIBuffer> buffer;

    EXPECT_EQ(String::ConvertToCharType(buffer, surrogate, -1), 0);
    EXPECT_EQ(BytesOf(buffer), Terminated("\xEF\xBF\xBD"
                                          "a"));
    EXPECT_EQ(String16::ConvertToCharType(buffer, surrogate, -1), 0);
    EXPECT_EQ(UnitsOf(buffer), Terminated(u"\uFFFDa"));
    for (const wchar_t* const text : {tooLarge, negative}) {
        EXPECT_EQ(String::ConvertToCharType(buffer, text, -1), kFailure);
        EXPECT_EQ(BytesOf(buffer), Terminated("a\xEF\xBF\xBD"
                                              "b"));
        EXPECT_EQ(String16::ConvertToCharType(buffer, text, -1), 0);
        EXPECT_EQ(UnitsOf(buffer), Terminated(u"a\uFFFDb"));
    }
}

TEST(StringConversion, ReportsAFailureAnywhereInALongWideText)
{
    for (const std::size_t position : {0u, 255u, 256u, 999u}) {
        SCOPED_TRACE(position);
        std::wstring text(1000, L'a');
        text[position] = 0x110000;
        RCPtr<LIBuffer> buffer;

        EXPECT_EQ(String::ConvertToCharType(buffer, text.c_str(), -1), kFailure);

        std::string expected(1000, 'a');
        expected.replace(position, 1, "\xEF\xBF\xBD");
        EXPECT_EQ(BytesOf(buffer), Terminated(expected));
    }
}

TEST(StringConversion, KeepsWhatCameBeforeTruncatedBytes)
{
    for (const std::string_view character :
         {std::string_view("\xC3\xA9"), std::string_view("\xE2\x82\xAC"),
          std::string_view("\xF0\x9F\x98\x80")}) {
        for (std::size_t length = 1; length < character.size(); ++length) {
            SCOPED_TRACE(testing::Message() << character << " cut to " << length);
            const std::string text = "ab" + std::string(character.substr(0, length));
            const auto exact = ExactBlock<char>(text);
            RCPtr<LIBuffer> buffer;

            EXPECT_EQ(String16::ConvertToCharType(buffer, text.c_str(), -1), kFailure);
            EXPECT_EQ(UnitsOf(buffer), Terminated(u"ab"));
            EXPECT_EQ(
                String16::ConvertToCharType(buffer, exact.get(), static_cast<int>(text.size())),
                kFailure);
            EXPECT_EQ(UnitsOf(buffer), Terminated(u"ab"));
            EXPECT_EQ(TextOf(String16(text.c_str())), u"ab");
        }
    }
}

TEST(StringConversion, KeepsWhatCameBeforeIllFormedBytes)
{
    for (const char* const illFormed : {"\x80", "\xC0\x80", "\xC3(", "\xE0\x80\x80", "\xED\xA0\x80",
                                        "\xED"
                                        "A\x80",
                                        "\xF4\x90\x80\x80",
                                        "\xF4"
                                        "A\x80\x80",
                                        "\xF5\x80\x80\x80", "\xFF"}) {
        SCOPED_TRACE(testing::PrintToString(illFormed));
        const std::string text = "ab" + std::string(illFormed) + "cd";
        RCPtr<LIBuffer> buffer;

        EXPECT_EQ(String16::ConvertToCharType(buffer, text.c_str(), -1), kFailure);

        EXPECT_EQ(UnitsOf(buffer), Terminated(u"ab"));
    }
}

TEST(StringConversion, GivesAnEmptyTextForOneThatAnotherHolderHasEmptied)
{
    String16 wide = Wide(u"abc");
    wide.GetBuffer()->SetSizeBytes(0);
    String narrow("abc");
    narrow.GetBuffer()->SetSizeBytes(0);

    EXPECT_EQ(TextOf(String(wide)), "");
    EXPECT_EQ(TextOf(String16(narrow)), u"");
}

TEST(StringConversion, GivesAnEmptyBufferOfItsOwnWhenItFailsAtOnce)
{
    const String16 wide("\x80");

    EXPECT_TRUE(wide.IsEmpty());
    EXPECT_FALSE(SharesEmpty(wide));
}

} // namespace
} // namespace QX
