// StringEditingTest.cpp - substrings, tokens, replacement, insertion and appending.

#include "Support/StringTestSupport.h"

#include <QX/Exception.h>

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>

namespace QX {
namespace {

constexpr int32 kOutOfRange = static_cast<int32>(0x80000003u);

TEST(StringGetSubString, CutsItsRangeToTheText)
{
    struct
    {
        int start;
        uint32 count;
        const char* expected;
    } const cases[] = {
        {2, 100, "cdef"}, {2, 0xFFFFFFFF, "cdef"}, {6, 1, ""},
        {INT_MAX, 1, ""}, {-3, 2, "de"},           {-8, 4, "ab"},
        {-10, 2, ""},     {INT_MIN, 5, ""},        {INT_MIN, 0xFFFFFFFF, "abcdef"},
    };
    const String text("abcdef");

    for (const auto& [start, count, expected] : cases) {
        SCOPED_TRACE(testing::Message() << start << ", " << count);
        EXPECT_EQ(TextOf(text.GetSubString(start, count)), expected);
    }
}

TEST(StringGetSubString, GoesToTheEndWithoutACount)
{
    struct
    {
        int start;
        const char* expected;
    } const cases[] = {{0, "abcdef"}, {4, "ef"},      {6, ""},       {100, ""},
                       {-3, "def"},   {-8, "abcdef"}, {INT_MAX, ""}, {INT_MIN, "abcdef"}};
    const String text("abcdef");

    for (const auto& [start, expected] : cases) {
        SCOPED_TRACE(start);
        EXPECT_EQ(TextOf(text.GetSubString(start)), expected);
    }
}

TEST(StringGetSubString, SharesTheEmptyBufferAndNoOther)
{
    const String text("abcdef");

    EXPECT_TRUE(SharesEmpty(text.GetSubString(6, 1)));
    EXPECT_TRUE(SharesEmpty(text.GetSubString(0, 0)));
    EXPECT_TRUE(SharesEmpty(String().GetSubString(-1, 5)));
    EXPECT_NE(BufferOf(text.GetSubString(0)), BufferOf(text));
}

TEST(StringSplitToken, KeepsTheTokenAndReturnsTheRest)
{
    struct
    {
        const char* text;
        const char* delimiters;
        const char* token;
        const char* rest;
    } const cases[] = {
        {",,a,b,c", ",", "a", "b,c"},
        {"abc", ",", "abc", ""},
        {",,,", ",", "", ""},
    };

    for (const auto& [text, delimiters, token, rest] : cases) {
        SCOPED_TRACE(testing::Message() << '"' << text << "\" by \"" << delimiters << '"');
        String string(text);

        const String result = string.SplitToken(delimiters);

        EXPECT_EQ(TextOf(string), token);
        EXPECT_EQ(TextOf(result), rest);
        EXPECT_EQ(SharesEmpty(string), *token == '\0');
        EXPECT_EQ(SharesEmpty(result), *rest == '\0');
    }
}

TEST(StringSplitToken, LeavesNothingOfAStringThatIsItsOwnDelimiters)
{
    String text("abc");

    const String rest = text.SplitToken(text);

    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(rest.IsEmpty());
}

TEST(StringReplace, TranslatesEveryCharacterOfTheSet)
{
    struct
    {
        const char* text;
        const char* characters;
        char with;
        const char* expected;
    } const cases[] = {
        {"a-b_c", "-_", ' ', "a b c"},
        {"abba", "ab", 'a', "aaaa"},
        {"abc", "x", '\0', "abc"},
        {"abc", nullptr, 'z', "abc"},
    };

    for (const auto& [text, characters, with, expected] : cases) {
        SCOPED_TRACE(text);
        String string(text);

        String& result = string.Replace(characters, with);

        EXPECT_EQ(TextOf(string), expected);
        EXPECT_EQ(&result, &string);
    }
}

TEST(StringInsert, PutsTheTextBeforeThePosition)
{
    struct
    {
        uint32 position;
        const char* text;
        uint32 count;
        int32 result;
        const char* expected;
    } const cases[] = {
        {0, "x", String::kWholeText, 0, "xabc"},
        {3, "x", String::kWholeText, 0, "abcx"},
        {1, "xyz", 2, 0, "axybc"},
        {1, "xyz", 0xFFFFFFFF, 0, "axyzbc"},
        {2, nullptr, String::kWholeText, 0, "abc"},
        {10, "x", String::kWholeText, kOutOfRange, "abc"},
        {0xFFFFFFFF, "x", 1, kOutOfRange, "abc"},
    };

    for (const auto& [position, text, count, result, expected] : cases) {
        SCOPED_TRACE(testing::Message() << position << ", " << (text != nullptr ? text : "null"));
        String string("abc");

        EXPECT_EQ(string.Insert(position, text, count), result);

        EXPECT_EQ(TextOf(string), expected);
    }
}

TEST(StringInsert, ReadsNoMoreThanItsCount)
{
    const auto block = ExactBlock<char>("x");
    String text("abc");

    text.Insert(3, block.get(), 1);
    text.Insert(0, block.get(), 1);

    EXPECT_EQ(TextOf(text), "xabcx");
}

TEST(StringAppend, TakesStringsCharactersAndLiterals)
{
    String text;

    text += String("ab");
    text += 'c';
    text += "de";
    text += Wide(u"\u00E9");

    EXPECT_EQ(TextOf(text), "abcde\xC3\xA9");
    EXPECT_EQ(text.GetBuffer()->GetSizeBytes(), 8u);
    EXPECT_FALSE(text.IsLocked());
}

TEST(StringAppend, BeginsAnewIfAnotherHolderHasEmptiedTheBuffer)
{
    String text("abc");
    text.GetBuffer()->SetSizeBytes(0);

    text += "de";

    EXPECT_STREQ(text.CStr(), "de");
    EXPECT_EQ(text.GetLength(), 2u);
}

TEST(StringAppend, KeepsTheBufferSharedForNothing)
{
    String text("abc");
    const String sharer(text);

    text += "";
    text += '\0';

    EXPECT_EQ(BufferOf(text), BufferOf(sharer));
    EXPECT_EQ(TextOf(text), "abc");
}

TEST(StringConcatenation, MakesANewString)
{
    const String text("abc");
    String locked("abc");
    locked.Lock(4);

    EXPECT_EQ(TextOf(text + "def"), "abcdef");
    EXPECT_EQ(TextOf(locked + "def"), "abcdef");
    EXPECT_FALSE((locked + "def").IsLocked());
    EXPECT_FALSE((locked + "").IsLocked());
}

TEST(StringConcatenation, SharesTheBufferForNothing)
{
    const String text("abc");

    EXPECT_EQ(BufferOf(text + ""), BufferOf(text));
    EXPECT_TRUE(SharesEmpty(String() + ""));
}

TEST(StringReverse, KeepsCharactersOfTheBasicPlaneWhole)
{
    struct
    {
        const char* what;
        const char* text;
        const char* expected;
    } const cases[] = {
        {"ASCII", "abc", "cba"},
        {"two bytes", "a\xC3\xA9z",
         "z\xC3\xA9"
         "a"},
        {"three bytes",
         "\xE2\x82\xAC"
         "1",
         "1\xE2\x82\xAC"},
        {"a pair is split",
         "a\xF0\x9F\x98\x80"
         "b",
         "b\xEF\xBF\xBD\xEF\xBF\xBD"
         "a"},
        {"ill-formed at once",
         "\xE9"
         "abc",
         ""},
        {"ill-formed later", "abc\xE9", "cba"},
        {"empty", "", ""},
    };

    for (const auto& [what, text, expected] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(TextOf(String(text).Reverse()), expected);
    }
}

TEST(StringReverse, LeavesSourceAndSharersOf16BitsAlone)
{
    const String16 text = Wide(u"abc");
    const String16 sharer(text);

    const String16 reversed = text.Reverse();

    EXPECT_EQ(TextOf(reversed), u"cba");
    EXPECT_EQ(TextOf(text), u"abc");
    EXPECT_EQ(TextOf(sharer), u"abc");
    EXPECT_FALSE(reversed.IsLocked());
    EXPECT_EQ(reversed.GetBuffer()->GetSizeBytes(), 8u);
    EXPECT_EQ(TextOf(Wide(u"\xD83D\xDE00").Reverse()), std::u16string(u"\xDE00\xD83D"));
    EXPECT_TRUE(SharesEmpty(String16().Reverse()));
}

template <class Operation>
void ExpectNotImplemented(Operation operation, const char* expected)
{
    try {
        operation();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const Exception<std::domain_error>& error) {
        EXPECT_STREQ(error.what(), expected);
    }
}

TEST(String16Refusals, SplitTokenAlwaysThrows)
{
    const char* const expected =
        "Domain Error : Not implemented. :  : Utilities/Storage/StringT : Line 70";
    String16 text = Wide(u"a,b");

    ExpectNotImplemented([&] { text.SplitToken(Wide(u",")); }, expected);
    ExpectNotImplemented([&] { String16().SplitToken(String16()); }, expected);
    EXPECT_EQ(TextOf(text), u"a,b");
}

TEST(String16Refusals, CSpnAndReplaceThrowTheSameException)
{
    const char* const expected =
        "Domain Error : Not implemented. :  : Utilities/Storage/StringT : Line 1315";
    String16 text = Wide(u"abc");
    const auto units = Units(u"a");

    ExpectNotImplemented([&] { String16::StrCSpn(text.CStr(), units.data()); }, expected);
    ExpectNotImplemented([&] { String16::StrCSpn(nullptr, nullptr); }, expected);
    ExpectNotImplemented([&] { text.Replace(units.data(), 'x'); }, expected);
    ExpectNotImplemented([&] { text.Replace(nullptr, 'x'); }, expected);
    ExpectNotImplemented([&] { String16().Replace(units.data(), 'x'); }, expected);
    EXPECT_EQ(TextOf(text), u"abc");
}

TEST(String16Refusals, ReplaceByNulReturnsAtOnce)
{
    String16 text = Wide(u"abc");

    EXPECT_EQ(&text.Replace(nullptr, 0), &text);

    EXPECT_EQ(TextOf(text), u"abc");
}

} // namespace
} // namespace QX
