// StatusTest.cpp - statuses as text, from text, and in plain words.

#include "Tools/Host/Status.h"

#include <gtest/gtest.h>

namespace {

TEST(Status, IsWrittenAsNumberAndCode)
{
    EXPECT_EQ(Host::FormatStatus(0), "0");
    EXPECT_EQ(Host::FormatStatus(-3), "-3");
    EXPECT_EQ(Host::FormatStatus(0x756E6F70), "1970171760 'unop'");
    EXPECT_EQ(Host::FormatStatus(0x77686F3F), "2003332927 'who?'");
    EXPECT_EQ(Host::FormatStatus(static_cast<SInt32>(0xE00002BC)), "-536870212");
}

TEST(Status, HasAnExplanationForEveryAnswerOfThePlugIn)
{
    for (const UInt32 bits : {0u, 0x77686174u, 0x77686F3Fu, 0x2173697Au, 0x756E6F70u, 0xE00002BCu,
                              0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFDu, 0xFFFFFFFCu, 0xFFFFFFFBu}) {
        SCOPED_TRACE(bits);
        EXPECT_STRNE(Host::ExplainStatus(static_cast<SInt32>(bits)),
                     "a status that this interface does not define");
    }
    EXPECT_STREQ(Host::ExplainStatus(0), "success");
    EXPECT_STREQ(Host::ExplainStatus(1), "a status that this interface does not define");
}

TEST(Status, IsReadInEveryFormThatAUserWrites)
{
    const struct
    {
        const char* text;
        UInt32 bits;
    } kCases[] = {
        {"ok", 0},
        {"0", 0},
        {"-3", 0xFFFFFFFD},
        {"unop", 0x756E6F70},
        {"'who?'", 0x77686F3F},
        {"!siz", 0x2173697A},
        {"1970171760", 0x756E6F70},
        {"0xE00002BC", 0xE00002BC},
        {"-0x1", 0xFFFFFFFF},
        {"'1234'", 0x31323334},
        {"1234", 1234},
        {"' b' '", 0x20622720},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.text);
        EXPECT_EQ(Host::ParseStatus(entry.text), static_cast<SInt32>(entry.bits));
    }
    for (const char* const text : {"", "okay!", "who", "4294967296", "-2147483649", "0x", "1 ",
                                   "--1", "'who?", "\x01\x02\x03\x04"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(Host::ParseStatus(text), std::nullopt);
    }
}

TEST(Status, WordsTakeAllThirtyTwoBits)
{
    EXPECT_EQ(Host::ParseWord("4294967295"), 0xFFFFFFFFu);
    EXPECT_EQ(Host::ParseWord("-1"), 0xFFFFFFFFu);
    EXPECT_EQ(Host::ParseWord("-2147483648"), 0x80000000u);
    EXPECT_EQ(Host::ParseWord("0XfF"), 255u);
    EXPECT_EQ(Host::ParseWord("ff"), std::nullopt);
}

} // namespace
