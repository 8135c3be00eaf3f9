// TextTest.cpp - what the tools write of text that others have sent.

#include "Tools/Common/Text.h"

#include <gtest/gtest.h>

namespace {

TEST(EscapeControls, LeavesNothingThatATerminalWouldActOn)
{
    struct
    {
        const char* what;
        std::string text;
        const char* expected;
    } const cases[] = {
        {"plain", "level 1", "level 1"},
        {"lines and tabs", "a\nb\tc", "a\\nb\\tc"},
        {"escape", "\x1B[2J", "\\x1B[2J"},
        {"delete and NUL", std::string("\x7F\0", 2), "\\x7F\\x00"},
        {"the UTF-8 form of U+009B",
         "\xC2\x9B"
         "2J",
         "\xC2\\x9B"
         "2J"},
        {"the byte 0x9B alone",
         "\x9B"
         "2J",
         "\\x9B"
         "2J"},
        {"the byte 0x9B after a letter",
         "\xE2\x82\xAC\x9B"
         "2J",
         "\xE2\x82\xAC\\x9B"
         "2J"},
        {"letters above ASCII", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5",
         "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5"},
        {"a letter whose last byte is in that range", "\xC3\x9F", "\xC3\x9F"},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.what);
        EXPECT_EQ(Tools::EscapeControls(entry.text), entry.expected);
    }
}

TEST(Text, CountsWithTheRightFormOfANoun)
{
    EXPECT_EQ(Tools::Count(0, "message"), "0 messages");
    EXPECT_EQ(Tools::Count(1, "message"), "1 message");
    EXPECT_EQ(Tools::Count(2, "message"), "2 messages");
}

TEST(Text, RoundsToTheDecimalsThatAreAskedFor)
{
    EXPECT_EQ(Tools::FormatNumber(Tools::RoundDecimals(8.408999999999999, 3)), "8.409");
    EXPECT_EQ(Tools::FormatNumber(Tools::RoundDecimals(123456789.0004, 3)), "123456789");
    EXPECT_EQ(Tools::FormatNumber(Tools::RoundDecimals(0.0123456789, 6)), "0.012346");
}

} // namespace
