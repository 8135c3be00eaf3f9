// ScriptTest.cpp - the host's line language.

#include "Tools/Host/Script.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using Host::Action;
using Host::Script;
using Host::Step;

/// The one step of a script of one statement.
Step ParseOne(const std::string& statement)
{
    const Script script = Host::ParseScript(statement);
    EXPECT_EQ(script.error, "");
    return script.steps.size() == 1 ? script.steps[0] : Step();
}

UInt32 ReadWord(const Step& step)
{
    UInt32 word = 0;
    EXPECT_EQ(step.data.size(), sizeof word);
    std::memcpy(&word, step.data.data(), sizeof word);
    return word;
}

TEST(Script, OpensAndClosesDevices)
{
    const Step open = ParseOne("open 258");
    const Step close = ParseOne("close 0xFFFFFFFE");
    const Step closeCurrent = ParseOne("close");

    EXPECT_EQ(open.action, Action::kOpen);
    EXPECT_EQ(open.device, 258u);
    EXPECT_EQ(open.expected, 0);
    EXPECT_EQ(close.action, Action::kClose);
    EXPECT_EQ(close.device, 0xFFFFFFFEu);
    EXPECT_EQ(closeCurrent.device, std::nullopt);
}

TEST(Script, SetsEnableAndStateOnTheMasterChannel)
{
    const struct
    {
        const char* statement;
        UInt32 property;
        UInt32 value;
    } kCases[] = {
        {"set enable on", 0x44476D65, 1},    {"set enable off", 0x44476D65, 0},
        {"set state 2", 0x4447646D, 2},      {"set state -1", 0x4447646D, 0xFFFFFFFF},
        {"set 'DGdm' 0x10", 0x4447646D, 16}, {"set ABCD 7", 0x41424344, 7},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.statement);

        const Step step = ParseOne(entry.statement);

        EXPECT_EQ(step.action, Action::kSet);
        EXPECT_EQ(step.property, entry.property);
        EXPECT_EQ(step.channel, 0u);
        EXPECT_EQ(step.isInput, 1);
        EXPECT_EQ(step.size, 4u);
        EXPECT_EQ(ReadWord(step), entry.value);
        EXPECT_EQ(step.expected, 0);
    }
}

TEST(Script, SetsTheTwoGainsOfAChannel)
{
    const Step step = ParseOne("set level 1.0 0.5 channel=2");

    float gains[2] = {};
    ASSERT_EQ(step.data.size(), sizeof gains);
    std::memcpy(gains, step.data.data(), sizeof gains);
    EXPECT_EQ(gains[0], 1.0f);
    EXPECT_EQ(gains[1], 0.5f);
    EXPECT_EQ(step.channel, 2u);
    EXPECT_EQ(step.size, 8u);
    EXPECT_EQ(step.valueText, "1.0 0.5");
    EXPECT_EQ(ParseOne("set level 1 inf").channel, 1u);
}

TEST(Script, ReadsExpectingTheRefusalThatReadsGet)
{
    const Step get = ParseOne("get level channel=3 device=7");
    const Step info = ParseOne("info enable");
    const Step stream = ParseOne("stream set state");

    EXPECT_EQ(get.action, Action::kGet);
    EXPECT_EQ(get.device, 7u);
    EXPECT_EQ(get.channel, 3u);
    EXPECT_EQ(get.size, 8u);
    EXPECT_EQ(get.expected, 0x756E6F70);
    EXPECT_EQ(info.action, Action::kInfo);
    EXPECT_EQ(info.expected, 0);
    EXPECT_EQ(stream.action, Action::kStreamSet);
    EXPECT_EQ(stream.data.size(), 4u);
    EXPECT_EQ(stream.expected, 0x77686F3F);
}

TEST(Script, PassesOtherSidesAndSizes)
{
    const Step shorter = ParseOne("set level 1 1 size=5 side=output");
    const Step longer = ParseOne("set enable 1 size=9");

    EXPECT_EQ(shorter.size, 5u);
    EXPECT_EQ(shorter.data.size(), 5u);
    EXPECT_EQ(shorter.isInput, 0);
    EXPECT_EQ(longer.data.size(), 9u);
    EXPECT_EQ(longer.data[8], 0);
    EXPECT_EQ(ParseOne("get enable size=0").size, 0u);
}

TEST(Script, AttachesAnExpectationToTheCallAbove)
{
    const Script script = Host::ParseScript("open 1\nget enable\nsleep 0\nexpect what\n"
                                            "set state 1\nexpect any\n");

    EXPECT_EQ(script.error, "");
    ASSERT_EQ(script.steps.size(), 4u);
    EXPECT_EQ(script.steps[0].expected, 0);
    EXPECT_EQ(script.steps[1].expected, 0x77686174);
    EXPECT_FALSE(script.steps[1].isAnyExpected);
    EXPECT_TRUE(script.steps[3].isAnyExpected);
}

TEST(Script, PassesOverCommentsAndBlankLines)
{
    const Script script =
        Host::ParseScript("# first\n\n  \t\r\n open 1 # one\r\n#open 2\nsleep 0.25");

    EXPECT_EQ(script.error, "");
    ASSERT_EQ(script.steps.size(), 2u);
    EXPECT_EQ(script.steps[1].action, Action::kSleep);
    EXPECT_EQ(script.steps[1].seconds, 0.25);
}

TEST(Script, TakesCodesWithBlanksAndSignsInQuotes)
{
    EXPECT_EQ(ParseOne("get 'a #='").property, 0x6120233Du);
    EXPECT_EQ(ParseOne("get 0x00000001").property, 1u);
}

TEST(Script, NamesTheFirstWrongLine)
{
    const struct
    {
        const char* statement;
        const char* error;
    } kCases[] = {
        {"jump", "unknown statement \"jump\"; there are open, close, set, get, info, stream, sleep "
                 "and expect"},
        {"open", "open takes a device ID"},
        {"open 1 2", "open takes a device ID"},
        {"open x", "\"x\" is not a device ID"},
        {"close 1 2", "close takes a device ID or nothing"},
        {"set", "set takes a property: enable, level, state or a four-character code"},
        {"set volume 1", "\"volume\" is not a property"},
        {"set enable", "set takes one number, or on or off"},
        {"set enable 1 2", "set takes one number, or on or off"},
        {"set enable 4294967296", "set takes one number, or on or off"},
        {"set level 1", "set level takes two gains, such as 1.0 0.5"},
        {"set level 1 loud", "set level takes two gains, such as 1.0 0.5"},
        {"get enable 1", "\"1\" is unexpected here"},
        {"get enable room=1", "unknown option \"room\"; there are device, channel, side and size"},
        {"get enable channel=x", "\"x\" is not a number for channel"},
        {"get enable channel=", "\"\" is not a number for channel"},
        {"get enable side=left", "side is input or output"},
        {"get enable size=65537", "size is at most 65536"},
        {"stream", "stream takes info, get or set, and a property"},
        {"stream put enable", "stream takes info, get or set, and a property"},
        {"stream get", "get takes a property: enable, level, state or a four-character code"},
        {"sleep", "sleep takes seconds, 3600 at most"},
        {"sleep -1", "sleep takes seconds, 3600 at most"},
        {"sleep nan", "sleep takes seconds, 3600 at most"},
        {"sleep 1s", "sleep takes seconds, 3600 at most"},
        {"expect", "expect takes a status: ok, a number, a four-character code, or any"},
        {"expect never", "\"never\" is not a status"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.statement);

        const Script script =
            Host::ParseScript("open 1\n\n" + std::string(entry.statement) + "\nopen 2\n");

        EXPECT_EQ(script.error, entry.error);
        EXPECT_EQ(script.errorLine, 3);
        EXPECT_EQ(script.steps.size(), 1u);
    }
    EXPECT_EQ(Host::ParseScript("sleep 0\nexpect ok").error,
              "expect must follow the call it checks");
}

} // namespace
