// ColumnsTest.cpp - how text is cut and wrapped.

#include "Tools/Monitor/Columns.h"

#include <gtest/gtest.h>

namespace {

using Monitor::CountColumns;
using Monitor::CutToColumns;
using Monitor::WrapToColumns;
using Lines = std::vector<std::string>;

TEST(Columns, CountsWhatATerminalShows)
{
    EXPECT_EQ(CountColumns(""), 0u);
    EXPECT_EQ(CountColumns("abc"), 3u);
    EXPECT_EQ(CountColumns("\xC3\xA9\xE0\xBF\xBF"), 2u);         // U+00E9, U+0FFF
    EXPECT_EQ(CountColumns("\xE1\x83\xBF\xE1\x84\x80"), 3u);     // U+10FF, U+1100
    EXPECT_EQ(CountColumns("\xE6\xBC\xA2\xF0\x9F\x8E\x9B"), 4u); // U+6F22, U+1F39B
    EXPECT_EQ(CountColumns("\x1B[31mab\x1B[0m"), 2u);
    EXPECT_EQ(CountColumns("a\x1B[31"), 1u);
    EXPECT_EQ(CountColumns("\x80\x80"), 2u);
}

TEST(Columns, CutsTextThatIsTooLong)
{
    EXPECT_EQ(CutToColumns("abcdef", 6), "abcdef");
    EXPECT_EQ(CutToColumns("abcdefg", 6), "abc...");
    EXPECT_EQ(CutToColumns("a\xE6\xBC\xA2\xE6\xBC\xA2z", 5), "a...");
    EXPECT_EQ(CutToColumns("\xC3\xA9\xC3\xA9\xC3\xA9z", 3), "...");
}

TEST(Columns, WrapsAtBlanks)
{
    EXPECT_EQ(WrapToColumns("one two", 7, 2), Lines({"one two"}));
    EXPECT_EQ(WrapToColumns("one two three", 8, 2), Lines({"one two", "  three"}));
    EXPECT_EQ(WrapToColumns("one two three", 7, 2), Lines({"one two", "  three"}));
    EXPECT_EQ(WrapToColumns("one   two three", 5, 0), Lines({"one", "two", "three"}));
    EXPECT_EQ(WrapToColumns("", 5, 2), Lines({""}));
}

TEST(Columns, WrapsInsideAWordThatIsTooLong)
{
    EXPECT_EQ(WrapToColumns("abcdefghij", 4, 1), Lines({"abcd", " efg", " hij"}));
    EXPECT_EQ(WrapToColumns("   abcdefghij", 6, 2), Lines({"   abc", "  defg", "  hij"}));
    EXPECT_EQ(WrapToColumns("\xE6\xBC\xA2\xE6\xBC\xA2", 3, 0),
              Lines({"\xE6\xBC\xA2", "\xE6\xBC\xA2"}));
    EXPECT_EQ(WrapToColumns("ab\x1B[31mcd\x1B[0m", 3, 0), Lines({"ab\x1B[31mc", "d\x1B[0m"}));
}

} // namespace
